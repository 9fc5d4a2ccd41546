#include "QelPlayOptions.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "utils/QelString.h"

namespace qelplay {

namespace {

bool ParseNumber(const std::string& strText, double& value) {
    if (strText.empty())
        return false;
    std::istringstream in(strText);
    in.imbue(std::locale::classic());
    in >> value;
    return in && in.peek() == std::char_traits<char>::eof();
}

bool LoadDigests(const std::string& strFile, std::map<std::wstring, std::wstring>& mapSha256, std::string& strError) {
    std::ifstream in(strFile);
    if (!in) {
        strError = "cannot read the SHA-256 file " + strFile;
        return false;
    }
    std::string strLine;
    int nLine = 0;
    while (std::getline(in, strLine)) {
        ++nLine;
        if (!strLine.empty() && strLine.back() == '\r')
            strLine.pop_back();
        std::istringstream fields(strLine);
        std::string strUrl, strDigest, strExtra;
        if (!(fields >> strUrl) || strUrl[0] == '#')
            continue;
        if (!(fields >> strDigest) || (fields >> strExtra) || strDigest.size() != 64) {
            strError = strFile + ":" + std::to_string(nLine) + ": expected 'URL SHA256' (64 hex digits)";
            return false;
        }
        mapSha256[QelString::Utf8ToUnicode(strUrl)] = QelString::Utf8ToUnicode(strDigest);
    }
    return true;
}

}  // namespace

const char* Usage() {
    return "usage: qelplay [--audio] [--sha256 FILE] [--cache DIR] [--update-time MS] [--seek SECONDS]\n"
           "               [--headless] [--events] [--timeout SECONDS] URL_OR_PATH\n"
           "\n"
           "Plays a video (an HLS playlist is cached, verified and played from the cache) or,\n"
           "with --audio, an audio file or stream.\n"
           "\n"
           "  --audio            play through the audio player\n"
           "  --sha256 FILE      expected segment digests: one 'URL SHA256' pair per line\n"
           "  --cache DIR        the cache root (default: the library's folder)\n"
           "  --update-time MS   the video's update time; the same time finds the same cache\n"
           "  --seek SECONDS     seek there once, as soon as playback has started\n"
           "  --headless         no video window (without a display there is none either)\n"
           "  --events           print 'event NAME WPARAM LPARAM' on stdout per message\n"
           "  --timeout SECONDS  give up after that long\n"
           "  --help             this text\n"
           "\n"
           "keys in the video window: space pauses and resumes, Left and Right seek 10 s,\n"
           "f toggles full screen, q or Escape (or closing the window) ends playback\n"
           "\n"
           "exit codes: 0 playback reached its end or was ended in the window; 1 bad\n"
           "arguments; 2 the playlist or the media could not be opened; 3 time-out; 4 a\n"
           "download failed\n";
}

ParseResult ParseCommandLine(int argc, char** argv) {
    ParseResult result;
    Options options;
    auto fail = [&result](std::string strError) {
        result.strError = std::move(strError);
        return result;
    };
    for (int i = 1; i < argc; ++i) {
        const std::string strArg = argv[i];
        auto value = [&](std::string& strOut) {
            if (i + 1 >= argc)
                return false;
            strOut = argv[++i];
            return true;
        };
        std::string strValue;
        double number = 0;
        if (strArg == "--help" || strArg == "-h") {
            result.bHelp = true;
            return result;
        } else if (strArg == "--audio") {
            options.bAudio = true;
        } else if (strArg == "--headless") {
            options.bHeadless = true;
        } else if (strArg == "--events") {
            options.bEvents = true;
        } else if (strArg == "--sha256") {
            if (!value(options.strSha256File))
                return fail("--sha256 needs a file");
        } else if (strArg == "--cache") {
            if (!value(options.strCacheDir) || options.strCacheDir.empty())
                return fail("--cache needs a folder");
        } else if (strArg == "--update-time") {
            if (!value(strValue) || !ParseNumber(strValue, number) || number < 1 || number != static_cast<long long>(number))
                return fail("--update-time needs a positive whole number of milliseconds");
            options.llUpdateTime = static_cast<long long>(number);
        } else if (strArg == "--seek") {
            if (!value(strValue) || !ParseNumber(strValue, number) || number < 0)
                return fail("--seek needs a number of seconds (0 or more)");
            options.seekSeconds = number;
        } else if (strArg == "--timeout") {
            if (!value(strValue) || !ParseNumber(strValue, number) || number <= 0)
                return fail("--timeout needs a positive number of seconds");
            options.timeoutSeconds = number;
        } else if (strArg.size() > 1 && strArg[0] == '-') {
            return fail("unknown option " + strArg);
        } else if (options.strSource.empty()) {
            options.strSource = strArg;
        } else {
            return fail("only one URL or path can be played");
        }
    }
    if (options.strSource.empty())
        return fail("no URL or path given");
    if (!options.strSha256File.empty() && !LoadDigests(options.strSha256File, options.mapSha256, result.strError))
        return result;
    result.options = std::move(options);
    return result;
}

}  // namespace qelplay
