// What a host pays for the component beyond the start, each figure beside a peer in the same
// run: the time to cache a whole video (against the wire limit and against curl fetching the
// same URLs three at a time), the CPU time of the host process while playback waits for a
// segment that never comes and while a cached video plays (against libvlc playing the same
// URL or file directly), and the peak resident memory while a video is cached and played
// (against libvlc playing the URL).
//
//   host_cost_bench [--seconds N] [--size WxH] [--rate BYTES_PER_SEC] [--window SECONDS]
//
// ffmpeg makes an H.264 + AAC video of N seconds (120: 60 segments of 2 s) at WxH, served by
// the tests' loopback server with every connection held to the rate (1 MB/s: 8 Mbit/s).
// Every player runs in a child process of its own (this program again, with --role), so
// that its CPU time and peak memory are its own and not the server's.
#include <sys/resource.h>
#include <unistd.h>
#include <vlc/vlc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "QelBenchRow.h"
#include "qelserve/QelLoopbackServer.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSilentAudio.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "video/QelVideoPlayerManager.h"

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

constexpr int kParallel = 3;  // the scheduler's groups of three, and curl's --parallel-max
constexpr long long kUpdateTime = 7;  // names one cache folder for the fill and the cached play

struct Options {
    int nSeconds = 120;
    std::string strSize = "640x360";
    long long llRate = 1000000;
    int nWindow = 30;
    // Child side.
    std::string strRole, strUrl, strCache;
    int nSegments = 0;
    double fHold = 0;
};

double CpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& tv) { return static_cast<double>(tv.tv_sec) + tv.tv_usec / 1e6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double PeakRssMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

std::string Quote(const std::string& s) {
    std::string out = "'";
    for (char c : s)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

int CachedSegments(const fs::path& folder) {
    int nCount = 0;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        nCount += it->path().extension() == ".ts";
    return nCount;
}

// ---- child side: one player, reporting one line "RESULT <figure> <figure>" -------------

// The component as a host's window uses it: a segment the engine asks for is fetched next.
class Host {
public:
    explicit Host(const std::string& strCache) {
        m_manager.SetHWnd(m_window.Handle(), m_window.Handle());
        m_manager.SetVideoDownloadPath(QelString::Utf8ToUnicode(strCache));
        m_manager.SetVideoUpdateTime(kUpdateTime);
    }
    ~Host() { m_manager.Stop(); }
    void Play(const std::string& strUrl) {
        m_strUrl = QelString::Utf8ToUnicode(strUrl);
        m_manager.Play(m_strUrl, {}, 0);
    }
    // Takes messages until the time is over or the condition, asked every poll, holds.
    template <typename Done>
    bool PumpUntil(Clock::time_point tpEnd, Done done, std::chrono::milliseconds poll = 10ms) {
        while (!done()) {
            const Clock::time_point tpNow = Clock::now();
            if (tpNow >= tpEnd)
                return false;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(tpEnd - tpNow);
            const auto message = m_window.Receive(std::min(poll, left));
            if (message && message->message == QEL_VIDEO_STARTED)
                m_bStarted = true;
            if (message && message->message == QEL_VIDEO_SEEK_TS)
                m_manager.UpdateDownloadPriority(m_strUrl, static_cast<int>(message->wParam));
        }
        return true;
    }
    // As a host's message loop does: asleep until a message comes.
    void PumpFor(std::chrono::duration<double> duration) {
        PumpUntil(Clock::now() + std::chrono::duration_cast<Clock::duration>(duration), [] { return false; }, 3600s);
    }
    bool Started() const { return m_bStarted; }
    fs::path Folder() {
        std::wstring strFolder;
        m_manager.GetVideoDownloadPath(strFolder);
        return fs::path(QelString::UnicodeToUtf8(strFolder));
    }

private:
    qel::test::TestNotifyWindow m_window;
    QelVideoPlayerManager m_manager;
    std::wstring m_strUrl;
    bool m_bStarted = false;
};

// libvlc alone, configured as the engine configures it.
class DirectVlc {
public:
    explicit DirectVlc(const std::string& strLocation) {
        const char* const args[] = {"--quiet", "--no-video-title-show", "--vout=vdummy"};
        m_pInstance = libvlc_new(3, args);
        libvlc_media_t* pMedia = strLocation.find("://") != std::string::npos
                                     ? libvlc_media_new_location(m_pInstance, strLocation.c_str())
                                     : libvlc_media_new_path(m_pInstance, strLocation.c_str());
        m_pPlayer = libvlc_media_player_new_from_media(pMedia);
        libvlc_media_release(pMedia);
        libvlc_media_player_play(m_pPlayer);
    }
    ~DirectVlc() {
        libvlc_media_player_stop(m_pPlayer);
        libvlc_media_player_release(m_pPlayer);
        libvlc_release(m_pInstance);
    }

private:
    libvlc_instance_t* m_pInstance;
    libvlc_media_player_t* m_pPlayer;
};

// CPU seconds over the window, after a settling time.
template <typename Wait>
double CpuOver(int nWindow, Wait wait) {
    const double fBefore = CpuSeconds();
    wait(std::chrono::seconds(nWindow));
    return CpuSeconds() - fBefore;
}

int RunChild(const Options& o) {
    qel::test::MakeAudioSilent();
    const auto sleeper = [](auto duration) { std::this_thread::sleep_for(duration); };
    if (o.strRole == "fill") {
        // Play from a fresh cache until every segment is cached; then as long again as held.
        Host host(o.strCache);
        const Clock::time_point tpStart = Clock::now();
        host.Play(o.strUrl);
        const fs::path folder = host.Folder();
        if (!host.PumpUntil(tpStart + 600s, [&] { return CachedSegments(folder) >= o.nSegments; }))
            return 1;
        const double fFill = std::chrono::duration<double>(Clock::now() - tpStart).count();
        host.PumpFor(std::chrono::duration<double>(o.fHold));
        std::printf("RESULT %.3f %.1f\n", fFill, PeakRssMiB());
    } else if (o.strRole == "vlc-url") {
        DirectVlc vlc(o.strUrl);
        sleeper(std::chrono::duration<double>(o.fHold));
        std::printf("RESULT 0 %.1f\n", PeakRssMiB());
    } else if (o.strRole == "wait" || o.strRole == "cached") {
        // Waiting: the first two segments play (4 s), then the third never comes.
        Host host(o.strCache);
        host.Play(o.strUrl);
        if (!host.PumpUntil(Clock::now() + 60s, [&] { return host.Started(); }))
            return 1;
        host.PumpFor(o.strRole == "wait" ? 15s : 2s);
        std::printf("RESULT %.3f 0\n", CpuOver(o.nWindow, [&](auto d) { host.PumpFor(d); }));
    } else if (o.strRole == "vlc-wait" || o.strRole == "vlc-cached") {
        DirectVlc vlc(o.strUrl);
        sleeper(o.strRole == "vlc-wait" ? 15s : 2s);
        std::printf("RESULT %.3f 0\n", CpuOver(o.nWindow, sleeper));
        // libvlc's stop waits for a read from the stalled server; the figures are out.
        std::fflush(stdout);
        std::_Exit(0);
    } else {
        return 2;
    }
    return 0;
}

// ---- parent side --------------------------------------------------------------------------

struct ChildResult {
    bool bOk = false;
    double fFirst = 0, fSecond = 0;
};

ChildResult RunRole(const Options& o, const std::string& strRole, const std::string& strUrl, const std::string& strCache,
                    int nSegments, double fHold) {
    const std::string strCommand = Quote(fs::read_symlink("/proc/self/exe").string()) + " --role " + strRole +
                                   " --url " + Quote(strUrl) + " --cache " + Quote(strCache) + " --segments " +
                                   std::to_string(nSegments) + " --hold " + std::to_string(fHold) + " --window " +
                                   std::to_string(o.nWindow);
    std::printf("running %s\n", strRole.c_str());
    ChildResult result;
    if (FILE* pPipe = popen(strCommand.c_str(), "r")) {
        char szLine[256];
        while (std::fgets(szLine, sizeof(szLine), pPipe))
            result.bOk |= std::sscanf(szLine, "RESULT %lf %lf", &result.fFirst, &result.fSecond) == 2;
        result.bOk &= pclose(pPipe) == 0;
    }
    if (!result.bOk)
        std::fprintf(stderr, "role %s failed\n", strRole.c_str());
    return result;
}

bool MakeVideo(const Options& o, const fs::path& hls) {
    fs::create_directories(hls);
    const std::string strCommand =
        "ffmpeg -hide_banner -loglevel error -nostdin -y -f lavfi -i testsrc2=size=" + o.strSize +
        ":rate=25 -f lavfi -i sine=frequency=440:sample_rate=44100 -t " + std::to_string(o.nSeconds) +
        " -c:v libx264 -preset veryfast -pix_fmt yuv420p -g 50 -keyint_min 50 -sc_threshold 0"
        " -c:a aac -b:a 64k -f hls -hls_time 2 -hls_list_size 0 -hls_playlist_type vod -hls_segment_filename " +
        Quote((hls / "index%d.ts").string()) + " " + Quote((hls / "index.m3u8").string());
    return std::system(strCommand.c_str()) == 0;
}

// curl fetching every segment, kParallel at a time; seconds, or a negative value.
double CurlFill(const std::string& strFolderUrl, int nSegments, const fs::path& target) {
    fs::create_directories(target);
    std::string strCommand = "curl -sf --no-progress-meter --parallel --parallel-max " + std::to_string(kParallel) + " --output-dir " +
                             Quote(target.string());
    for (int i = 0; i < nSegments; ++i)
        strCommand += " -o index" + std::to_string(i) + ".ts " + Quote(strFolderUrl + "index" + std::to_string(i) + ".ts");
    const Clock::time_point tpStart = Clock::now();
    const bool bOk = std::system(strCommand.c_str()) == 0 && CachedSegments(target) == nSegments;
    return bOk ? std::chrono::duration<double>(Clock::now() - tpStart).count() : -1;
}

void Row(const char* pszFigure, const char* pszFormat, double fOurs, double fPeer) {
    char szOurs[64], szPeer[64];
    PrintBenchRow(pszFigure, FormatBench(szOurs, sizeof(szOurs), pszFormat, fOurs),
                  FormatBench(szPeer, sizeof(szPeer), pszFormat, fPeer), fPeer > 0 ? fOurs / fPeer : 0.0);
}

int RunParent(const Options& o) {
    const char* pszTmp = std::getenv("TMPDIR");
    std::string strWork = std::string(pszTmp && *pszTmp ? pszTmp : "/tmp") + "/qel_host_cost_XXXXXX";
    if (!mkdtemp(strWork.data()))
        return 1;
    const fs::path work = strWork;
    struct Cleanup {
        fs::path path;
        ~Cleanup() {
            std::error_code ec;
            fs::remove_all(path, ec);
        }
    } cleanup{work};

    const fs::path hls = work / "content" / "hls";
    if (!MakeVideo(o, hls)) {
        std::fprintf(stderr, "could not make the video with ffmpeg\n");
        return 1;
    }
    long long llBytes = 0;
    const int nSegments = CachedSegments(hls);
    for (int i = 0; i < nSegments; ++i)
        llBytes += static_cast<long long>(fs::file_size(hls / ("index" + std::to_string(i) + ".ts")));

    qel::TestHttpServer server(work / "content");
    if (!server.IsRunning() || nSegments < 3)
        return 1;
    for (int i = 0; i < nSegments; ++i)
        server.SetFault("/hls/index" + std::to_string(i) + ".ts", qel::TestHttpFault::Throttle(o.llRate));
    const std::string strUrl = server.Url("/hls/index.m3u8");
    const std::string strCache = (work / "cache").string();
    const double fLimit = static_cast<double>(llBytes) / static_cast<double>(o.llRate * kParallel);
    std::printf("content  %d segments, %.2f MB, %s, every connection at %.1f Mbit/s; %.1f s on %d connections\n",
                nSegments, static_cast<double>(llBytes) / 1e6, o.strSize.c_str(), static_cast<double>(o.llRate) * 8e-6,
                fLimit, kParallel);

    // Fill (with play) and curl, then libvlc on the URL for as long as the component ran.
    constexpr double kHold = 10.0;
    const ChildResult fill = RunRole(o, "fill", strUrl, strCache, nSegments, kHold);
    const double fCurl = CurlFill(server.Url("/hls/"), nSegments, work / "curl");
    const ChildResult vlcUrl = RunRole(o, "vlc-url", strUrl, "", nSegments, fill.fFirst + kHold);
    std::printf("fill     component %.2f s, curl %.2f s, wire limit %.2f s\n", fill.fFirst, fCurl, fLimit);
    std::printf("memory   component %.1f MiB (cached and played), libvlc on the URL %.1f MiB\n", fill.fSecond,
                vlcUrl.fSecond);

    // A cached play of the same folder, beside libvlc playing the same segments from disk.
    const ChildResult cached = RunRole(o, "cached", strUrl, strCache, nSegments, 0);
    const ChildResult vlcCached = RunRole(o, "vlc-cached", (hls / "index.m3u8").string(), "", nSegments, 0);

    // From the third segment on, the server answers nothing at all.
    for (int i = 2; i < nSegments; ++i)
        server.SetFault("/hls/index" + std::to_string(i) + ".ts", qel::TestHttpFault::Stall(0, 600000));
    const ChildResult wait = RunRole(o, "wait", strUrl, (work / "cache-wait").string(), nSegments, 0);
    const ChildResult vlcWait = RunRole(o, "vlc-wait", strUrl, "", nSegments, 0);
    const double fPercent = 100.0 / o.nWindow;
    std::printf("idle     waiting: component %.2f%%, libvlc %.2f%% of one core; playing cached: component %.2f%%, "
                "libvlc %.2f%% (CPU time over %d s)\n",
                wait.fFirst * fPercent, vlcWait.fFirst * fPercent, cached.fFirst * fPercent,
                vlcCached.fFirst * fPercent, o.nWindow);

    if (!fill.bOk || fCurl < 0 || !vlcUrl.bOk || !cached.bOk || !vlcCached.bOk || !wait.bOk || !vlcWait.bOk)
        return 1;
    Row("Fill of a 60-segment HLS video at 8 Mbit/s a connection (component vs the wire limit at 3 connections)",
        "%.2f s", fill.fFirst, fLimit);
    Row("Fill of a 60-segment HLS video at 8 Mbit/s a connection (component vs curl, 3 at a time)", "%.2f s",
        fill.fFirst, fCurl);
    Row("CPU while playback waits for a segment that never comes, % of one core (component vs libvlc on the URL)",
        "%.2f %%", wait.fFirst * fPercent, vlcWait.fFirst * fPercent);
    Row("CPU while a cached HLS video plays headless, % of one core (component vs libvlc on the local m3u8)",
        "%.2f %%", cached.fFirst * fPercent, vlcCached.fFirst * fPercent);
    Row("Peak resident memory while a 60-segment video is cached and played (component vs libvlc on the URL)",
        "%.1f MiB", fill.fSecond, vlcUrl.fSecond);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Options o;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string strArg = argv[i], strValue = argv[i + 1];
        if (strArg == "--seconds") o.nSeconds = std::atoi(strValue.c_str());
        else if (strArg == "--size") o.strSize = strValue;
        else if (strArg == "--rate") o.llRate = std::atoll(strValue.c_str());
        else if (strArg == "--window") o.nWindow = std::atoi(strValue.c_str());
        else if (strArg == "--role") o.strRole = strValue;
        else if (strArg == "--url") o.strUrl = strValue;
        else if (strArg == "--cache") o.strCache = strValue;
        else if (strArg == "--segments") o.nSegments = std::atoi(strValue.c_str());
        else if (strArg == "--hold") o.fHold = std::atof(strValue.c_str());
        else {
            std::fprintf(stderr, "usage: %s [--seconds N] [--size WxH] [--rate BYTES_PER_SEC] [--window SECONDS]\n",
                         argv[0]);
            return 2;
        }
    }
    if (o.nSeconds < 6 || o.llRate <= 0 || o.nWindow <= 0)
        return 2;
    return o.strRole.empty() ? RunParent(o) : RunChild(o);
}
