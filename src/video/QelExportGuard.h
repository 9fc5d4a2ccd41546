// Nothing thrown inside the component crosses an exported function of the video side: the
// function logs the exception under its own name and returns its failure value.
//
//   bool QelVideoPlayerManager::IsPlaying() {
//       try {
//           return m_pPlayback->IsPlaying();
//       }
//       QEL_CATCH_AT_EXPORT(false)
//   }
#pragma once

#include <exception>
#include <string>

#include "log/QelLog.h"

namespace qel {

// Writes "Failed on an exception: <what>" for the exception being handled; never throws.
inline void LogEscapingException(const char* szFunction, int nLine) noexcept {
    try {
        std::string strWhat = "unknown exception";
        try {
            throw;
        } catch (const std::exception& e) {
            strWhat = e.what();
        } catch (...) {
        }
        ::qel::log::Record(szFunction, nLine) << "Failed on an exception: " << strWhat;
    } catch (...) {
        // Not even the log line could be written; the failure value still goes back.
    }
}

}  // namespace qel

// The catch clause of an exported function's body; the argument is its failure value
// (nothing for a function without result).
#define QEL_CATCH_AT_EXPORT(...)                                       \
    catch (...) {                                                      \
        ::qel::LogEscapingException(QEL_LOG_FUNCTION, __LINE__);       \
        return __VA_ARGS__;                                            \
    }
