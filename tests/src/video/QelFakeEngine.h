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

// Clears the record and the script: Open returns handle 0x1234, every parameter reads 0.
QEL_ENGINE_API void Reset();
QEL_ENGINE_API void SetOpenResult(QelVideoPlayerHandle hPlayer);
// The value GetParam writes for the id (int32 ids write the low 32 bits).
QEL_ENGINE_API void ScriptParam(std::int32_t id, std::int64_t value);
QEL_ENGINE_API std::vector<Call> Calls();
// The call names in order, e.g. "Open SetRect SetRect GetParam:4099 ..."; parameters are
// named by id so that orders read well in a test's failure.
QEL_ENGINE_API std::string CallNames();

}  // namespace qel::fake_engine
