// Packages created, fed, sought in, stopped and destroyed while their segments download,
// 200 times: every destruction returns, no thread outlives its package, and the cache
// never holds a partial segment under its final name. Leaks are LeakSanitizer's to find.
#include "segment_cache/QelTSPackage.h"

#include <filesystem>
#include <iostream>
#include <regex>
#include <thread>

#include "QelSegmentFixture.h"

#ifdef _WIN32
#include <tlhelp32.h>
#endif

using namespace std::chrono_literals;
using qel::TestHttpFault;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kIterations = 200;

int ThreadCount() {
#ifdef _WIN32
    HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (hSnapshot == INVALID_HANDLE_VALUE)
        return -1;
    int nCount = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL b = Thread32First(hSnapshot, &entry); b; b = Thread32Next(hSnapshot, &entry))
        nCount += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    CloseHandle(hSnapshot);
    return nCount;
#else
    std::error_code ec;
    int nCount = 0;
    for (std::filesystem::directory_iterator it("/proc/self/task", ec), end; !ec && it != end; it.increment(ec))
        ++nCount;
    return nCount;
#endif
}

using StressTest = qel::test::SegmentFixture;

TEST_F(StressTest, PackagesDestroyedMidDownloadLeaveNoThreadAndNoPartialFile) {
    // Warm up what the process keeps once made (the HTTP library, the log), then count.
    {
        QelTSPackage package(nullptr, &m_hWnd, 0, 0);
        package.SetTSItems(Items(1));
        ASSERT_TRUE(qel::test::Eventually([&] { return IsCached(0); }, qel::test::kHangBound));
    }
    ClearCache();
    const int nThreadsBefore = ThreadCount();

    Clock::duration longestDestruction{};
    int nReachedChain = 0;
    for (int i = 0; i < kIterations; ++i) {
        const int nSegments = 1 + i % 10;
        // A third of the runs are slow enough to be cut in the middle of every body.
        for (int s = 0; s < 10; ++s) {
            if (i % 3 == 0)
                m_server.SetFault(SegmentPath(s), TestHttpFault::Throttle(200 * 1024));
            else
                m_server.ClearFault(SegmentPath(s));
        }
        // Most runs end while TS 0 and 1 download; every twentieth lives long enough for the
        // scheduler to have started waiting groups.
        const auto delay = std::chrono::milliseconds(i % 20 == 19 ? 150 + (i * 13) % 100 : (i * 37) % 30);

        qel::test::PlaybackProbe probe(m_hWnd);
        auto pPackage = std::make_unique<QelTSPackage>(probe.File(), &m_hWnd, 0, i);
        pPackage->SetTSItems(Items(nSegments, i % 4 != 1));
        std::this_thread::sleep_for(delay / 2);
        if (i % 2 == 0)
            pPackage->CreateTSGroup((i / 2) % nSegments);
        std::this_thread::sleep_for(delay / 2);
        if (i % 5 == 0)
            pPackage->StopDownload();

        nReachedChain += probe.Starts();
        const auto tpDestroy = Clock::now();
        pPackage.reset();
        longestDestruction = std::max(longestDestruction, Clock::now() - tpDestroy);

        // Also where two downloaders of one segment ran at once (a seek to TS 0 or 1 resumes
        // group 0 again), each wrote and removed a temporary of its own.
        const std::string strListing = CacheListing();
        ASSERT_TRUE(std::regex_match(strListing, std::regex("(seg[0-9]+\\.ts ?)*"))) << "iteration " << i << ": " << strListing;
        ClearCache();
    }

    // Connections the server still serves end on their own once their client has gone.
    EXPECT_TRUE(qel::test::Eventually([&] { return ThreadCount() <= nThreadsBefore; }, 15s))
        << ThreadCount() << " threads, " << nThreadsBefore << " before";
    EXPECT_GT(nReachedChain, 0);
    std::cout << "longest destruction: "
              << std::chrono::duration_cast<std::chrono::milliseconds>(longestDestruction).count() << " ms, "
              << m_server.RequestCount() << " requests, " << nReachedChain << " runs past the first group\n";
}

}  // namespace
