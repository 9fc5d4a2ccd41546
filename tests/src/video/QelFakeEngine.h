// The substitute video engine: records every call with its arguments and answers
// GetParam from a scripted table. Linked into the manager's tests in place of
// QelMediaEngine.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "video/QelVideoEngine.h"

namespace qel::fake_engine {

struct Call {
    std::string strName;              // "Open", "SetRect", "GetParam", ...
    std::vector<std::int64_t> args;   // handle first (as a number), then the arguments
    std::string strPath;              // Open only
    std::size_t nSegments = 0;        // Open only
};

// Clears the record and the script: Open returns handle 0x1234, every parameter reads 0,
// and an Open that is held is let go.
QEL_ENGINE_API void Reset();
QEL_ENGINE_API void SetOpenResult(QelVideoPlayerHandle hPlayer);
// The value GetParam writes for the id (int32 ids write the low 32 bits).
QEL_ENGINE_API void ScriptParam(std::int32_t id, std::int64_t value);
QEL_ENGINE_API std::vector<Call> Calls();
// The call names in order, e.g. "Open SetRect SetRect GetParam:4099 ..."; parameters are
// named by id so that orders read well in a test's failure.
QEL_ENGINE_API std::string CallNames();

// The next Open is recorded at once, then waits until ReleaseOpen (or Reset), at most 15 s,
// as the real engine's Open waits for a picture. Later Opens do not wait.
QEL_ENGINE_API void HoldNextOpen();
QEL_ENGINE_API void ReleaseOpen();
// Players opened (a non-zero handle returned) and not closed since Reset.
QEL_ENGINE_API int OpenPlayers();

}  // namespace qel::fake_engine
