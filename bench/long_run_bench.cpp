// Long run of the video player manager: Play, a seek (UpdateDownloadPriority) and Stop,
// cycle after cycle, each on a video still downloading from the throttled loopback server,
// on the substitute engine. Each cycle gets a cache folder of its own (a new update time),
// so every one downloads; a folder is removed once the next Play has let its video go.
//
//   long_run_bench [--cycles N] [--content FOLDER] [--throttle BYTES_PER_SEC] [--seed N]
//
// FOLDER holds hls/index.m3u8, its segments and hls/sha256.txt (the build's 24-second
// sample by default). Threads (/proc/self/task) and open descriptors (/proc/self/fd) are
// counted after a first manager has played once and gone, and again once the long run's
// manager has gone; they must come back to that baseline within the settle time. A
// watchdog ends the program with exit 3 when a single step takes longer than the hang
// bound. Exit 0 when every count came back; leaks are LeakSanitizer's to report at exit.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include <unistd.h>

#include "QelFakeEngine.h"
#include "support/TestHttpServer.h"
#include "support/TestNotifyWindow.h"
#include "utils/QelString.h"
#include "video/QelVideoPlayerManager.h"

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kHangBound = std::chrono::seconds(30);
constexpr auto kSettleBound = std::chrono::seconds(10);

struct Counts {
    long nThreads = 0;
    long nFds = 0;
    bool operator<=(const Counts& other) const { return nThreads <= other.nThreads && nFds <= other.nFds; }
};

long EntriesIn(const char* szFolder) {
    long nCount = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(szFolder))
        ++nCount;
    return nCount;
}

Counts CountNow() {
    return {EntriesIn("/proc/self/task"), EntriesIn("/proc/self/fd")};
}

// Ends the process when the step it was last told of does not end within the bound.
class Watchdog {
public:
    Watchdog() : m_thread([this] { Watch(); }) {}
    ~Watchdog() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_bDone = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }
    void Step(int nCycle, const char* szStep) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_nCycle = nCycle;
        m_szStep = szStep;
        m_tpSince = Clock::now();
        m_changed.notify_all();
    }

private:
    void Watch() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_bDone) {
            const auto tpDeadline = m_tpSince + kHangBound;
            const bool bTimedOut = m_changed.wait_until(lock, tpDeadline) == std::cv_status::timeout;
            if (bTimedOut && Clock::now() >= m_tpSince + kHangBound) {
                std::printf("HANG: cycle %d, %s did not end within %lld s\n", m_nCycle, m_szStep,
                            static_cast<long long>(kHangBound.count()));
                std::fflush(stdout);
                std::_Exit(3);
            }
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bDone = false;
    int m_nCycle = 0;
    const char* m_szStep = "start";
    Clock::time_point m_tpSince = Clock::now();
    std::thread m_thread;
};

struct Options {
    int nCycles = 1000;
    fs::path content = QEL_LONG_RUN_CONTENT;
    long long llThrottle = 65536;
    unsigned nSeed = std::random_device{}();
};

class LongRun {
public:
    LongRun(const Options& options, qel::TestHttpServer& server, const fs::path& cacheRoot)
        : m_options(options), m_server(server), m_cacheRoot(cacheRoot), m_random(options.nSeed) {
        m_strUrl = QelString::Utf8ToUnicode(server.Url("/hls/index.m3u8"));
        std::ifstream in(options.content / "hls" / "sha256.txt");
        std::string strName, strDigest;
        while (in >> strName >> strDigest) {
            m_mapDigests[QelString::Utf8ToUnicode(server.Url("/hls/" + strName))] = QelString::Utf8ToUnicode(strDigest);
            ++m_nSegments;
        }
    }

    // Cycles nFirst .. nFirst + nCount - 1 with a manager of their own, gone at the end.
    void Cycles(int nFirst, int nCount, Watchdog& watchdog) {
        auto pManager = std::make_unique<QelVideoPlayerManager>();
        pManager->SetHWnd(m_window.Handle(), m_window.Handle());
        pManager->SetVideoDownloadPath(QelString::Utf8ToUnicode(m_cacheRoot.string()));
        std::uniform_int_distribution<int> playMs(0, 800), seekMs(0, 400), segment(0, m_nSegments - 1);
        for (int nCycle = nFirst; nCycle < nFirst + nCount; ++nCycle) {
            watchdog.Step(nCycle, "Play");
            pManager->SetVideoUpdateTime(1000 + nCycle);
            pManager->Play(m_strUrl, m_mapDigests, nCycle);
            RemoveFoldersBut(pManager.get());
            Drain(std::chrono::milliseconds(playMs(m_random)));
            watchdog.Step(nCycle, "UpdateDownloadPriority");
            pManager->UpdateDownloadPriority(m_strUrl, segment(m_random));
            Drain(std::chrono::milliseconds(seekMs(m_random)));
            watchdog.Step(nCycle, "Stop");
            if (CachedSegments(pManager.get()) < m_nSegments)
                ++m_nStoppedMidDownload;
            pManager->Stop();
            qel::fake_engine::Reset();  // its record of calls would grow with every cycle
            m_llRequests += static_cast<long long>(m_server.RequestCount());
            m_server.ClearRequests();
        }
        watchdog.Step(nFirst + nCount, "the manager's end");
        pManager.reset();
        RemoveFoldersBut(nullptr);
        Drain(std::chrono::milliseconds(100));
    }

    int StoppedMidDownload() const { return m_nStoppedMidDownload; }
    long long Requests() const { return m_llRequests; }

private:
    int CachedSegments(QelVideoPlayerManager* pManager) const {
        std::wstring strFolder;
        pManager->GetVideoDownloadPath(strFolder);
        int nCount = 0;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(QelString::UnicodeToUtf8(strFolder), error))
            nCount += entry.path().extension() == ".ts";
        return nCount;
    }

    void Drain(std::chrono::milliseconds duration) {
        const auto tpEnd = Clock::now() + duration;
        for (auto tpNow = Clock::now(); tpNow < tpEnd; tpNow = Clock::now())
            m_window.Receive(std::chrono::duration_cast<std::chrono::milliseconds>(tpEnd - tpNow));
    }

    // The folders of the videos the manager has let go: all but the one it plays now.
    void RemoveFoldersBut(QelVideoPlayerManager* pManager) {
        std::wstring strKeep;
        if (pManager)
            pManager->GetVideoDownloadPath(strKeep);
        const fs::path keep = QelString::UnicodeToUtf8(strKeep);
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(m_cacheRoot, error)) {
            if (keep.empty() || !fs::equivalent(entry.path(), keep, error))
                fs::remove_all(entry.path(), error);
        }
    }

    const Options& m_options;
    qel::TestHttpServer& m_server;
    fs::path m_cacheRoot;
    std::mt19937 m_random;
    qel::test::TestNotifyWindow m_window;
    std::wstring m_strUrl;
    std::map<std::wstring, std::wstring> m_mapDigests;
    int m_nSegments = 0;
    int m_nStoppedMidDownload = 0;
    long long m_llRequests = 0;
};

bool ParseOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string strName = argv[i], strValue = argv[i + 1];
        if (strName == "--cycles")
            options.nCycles = std::atoi(strValue.c_str());
        else if (strName == "--content")
            options.content = strValue;
        else if (strName == "--throttle")
            options.llThrottle = std::atoll(strValue.c_str());
        else if (strName == "--seed")
            options.nSeed = static_cast<unsigned>(std::strtoul(strValue.c_str(), nullptr, 10));
        else
            return false;
    }
    return argc % 2 == 1 && options.nCycles > 0 && options.llThrottle > 0 &&
           fs::is_regular_file(options.content / "hls" / "sha256.txt");
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseOptions(argc, argv, options)) {
        std::fputs("usage: long_run_bench [--cycles N] [--content FOLDER] [--throttle BYTES_PER_SEC] [--seed N]\n",
                   stderr);
        return 1;
    }
    qel::TestHttpServer server(options.content);
    for (const auto& entry : fs::directory_iterator(options.content / "hls"))
        server.SetFault("/hls/" + entry.path().filename().string(), qel::TestHttpFault::Throttle(options.llThrottle));
    const fs::path cacheRoot = fs::temp_directory_path() / ("qel_long_run_" + std::to_string(getpid()));
    fs::create_directories(cacheRoot);

    int nExit = 0;
    {
        Watchdog watchdog;
        LongRun run(options, server, cacheRoot);
        // One manager plays once first, so that what lives once per process (the log, the
        // HTTP library's globals) is there before the baseline is taken.
        run.Cycles(0, 1, watchdog);
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const Counts baseline = CountNow();
        std::printf("seed %u, %d cycles, throttle %lld B/s, baseline %ld threads, %ld open descriptors\n",
                    options.nSeed, options.nCycles, options.llThrottle, baseline.nThreads, baseline.nFds);
        std::fflush(stdout);
        const int nWarmUpStopped = run.StoppedMidDownload();
        const long long llWarmUpRequests = run.Requests();
        const auto tpStart = Clock::now();
        run.Cycles(1, options.nCycles, watchdog);
        const double fSeconds = std::chrono::duration<double>(Clock::now() - tpStart).count();
        watchdog.Step(options.nCycles + 1, "the settle");
        Counts end = CountNow();
        for (const auto tpGiveUp = Clock::now() + kSettleBound; !(end <= baseline) && Clock::now() < tpGiveUp;
             end = CountNow())
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        std::printf("%d cycles in %.1f s, no hang; %d stopped mid-download, %lld requests served\n",
                    options.nCycles, fSeconds, run.StoppedMidDownload() - nWarmUpStopped,
                    run.Requests() - llWarmUpRequests);
        std::printf("threads          baseline %ld, end %ld\n", baseline.nThreads, end.nThreads);
        std::printf("open descriptors baseline %ld, end %ld\n", baseline.nFds, end.nFds);
        if (!(end <= baseline)) {
            std::printf("FAILED: counts not back to the baseline %lld s after the last manager went\n",
                        static_cast<long long>(kSettleBound.count()));
            nExit = 2;
        }
    }
    std::error_code error;
    fs::remove_all(cacheRoot, error);
    return nExit;
}
