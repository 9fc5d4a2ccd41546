// The command line of qelplay: an interface scripts rely on, kept stable.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace qelplay {

// Exit codes.
enum ExitCode : int {
    kExitEnded = 0,          // playback reached its end, or the person ended it
    kExitBadArguments = 1,
    kExitCannotOpen = 2,     // the playlist or the media could not be opened
    kExitTimeout = 3,
    kExitDownloadFailed = 4, // a download failed
};

struct Options {
    bool bAudio = false;
    bool bHeadless = false;
    bool bEvents = false;
    std::string strSha256File;
    std::string strCacheDir;
    long long llUpdateTime = 0;     // 0: not given
    std::optional<double> seekSeconds;
    double timeoutSeconds = 0;      // 0: no time-out
    std::string strSource;
    std::map<std::wstring, std::wstring> mapSha256;  // from strSha256File
};

// Parses argv; on error fills strError. --help prints the usage and exits 0 (bHelp).
struct ParseResult {
    std::optional<Options> options;
    bool bHelp = false;
    std::string strError;
};

ParseResult ParseCommandLine(int argc, char** argv);
const char* Usage();

}  // namespace qelplay
