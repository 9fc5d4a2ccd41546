// The scheduler against the loopback server: which segments are fetched when, the group
// numbers and ranges it logs, the first-group call, seeks, faults, stop and destruction.
#include "segment_cache/QelTSPackage.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <thread>

#include "QelSegmentFixture.h"
#include "segment_cache/QelTSGroup.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::TestHttpFault;
using qel::test::Clock;
using qel::test::Eventually;
using qel::test::kHangBound;

namespace {

constexpr long long kUserData = 0x100000002LL;  // messages carry the low 32 bits: 2
// Long enough for the scheduler to see several quiet polling periods.
constexpr auto kQuiet = 400ms;

class PackageTest : public qel::test::SegmentFixture {
protected:
    PackageTest() : m_probe(m_hWnd) {}

    void Start(int nSegments) {
        m_pPackage = std::make_unique<QelTSPackage>(m_probe.File(), &m_hWnd, 0, kUserData);
        m_pPackage->SetTSItems(Items(nSegments));
    }
    bool AllCached(int nFirst, int nLast) const {
        for (int i = nFirst; i <= nLast; ++i) {
            if (!IsCached(i))
                return false;
        }
        return true;
    }
    // The requests in the order they came, cut into runs of the given sizes, each run sorted.
    std::vector<std::vector<int>> RequestRuns(const std::vector<size_t>& vecSizes) const {
        const std::vector<int> vecAll = RequestedSegments();
        std::vector<std::vector<int>> vecRuns;
        size_t nPos = 0;
        for (size_t nSize : vecSizes) {
            std::vector<int> vecRun(vecAll.begin() + static_cast<long>(std::min(nPos, vecAll.size())),
                                    vecAll.begin() + static_cast<long>(std::min(nPos + nSize, vecAll.size())));
            std::sort(vecRun.begin(), vecRun.end());
            vecRuns.push_back(vecRun);
            nPos += nSize;
        }
        return vecRuns;
    }

    qel::test::PlaybackProbe m_probe;
    std::unique_ptr<QelTSPackage> m_pPackage;
};

TEST_F(PackageTest, TenSegmentsComeTwoThenThreeAtATimeEachGroupAfterThePrevious) {
    // Every body waits a while after its head: no segment can be complete sooner after its
    // request than that, so a group that starts before the one before it is complete shows.
    constexpr auto kStall = 300ms;
    for (int i = 0; i < 10; ++i)
        m_server.SetFault(SegmentPath(i), TestHttpFault::Stall(0, static_cast<int>(kStall.count())));
    Start(10);
    ASSERT_TRUE(Eventually([&] { return AllCached(0, 9); }));
    const auto messages = Drain(kQuiet);
    // TS 0 and 1 are reported, then playback is started, then the rest is reported.
    ASSERT_EQ(messages.size(), 11u);
    EXPECT_EQ(messages[2].message, static_cast<UINT>(QEL_VIDEO_STARTED));
    std::multiset<LPARAM> setSizes, setExpected;
    for (size_t m = 0; m < messages.size(); ++m) {
        if (m == 2)
            continue;
        EXPECT_EQ(messages[m].message, static_cast<UINT>(QEL_VIDEO_DOWNLOAD_SUCCESS)) << m;
        EXPECT_EQ(messages[m].wParam, 2u);
        setSizes.insert(messages[m].lParam);
    }
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(HoldsSegment(i)) << i;
        setExpected.insert(static_cast<LPARAM>(qel::test::SegmentBody(i).size()));
    }
    EXPECT_EQ(setSizes, setExpected);
    EXPECT_EQ((std::multiset<LPARAM>{messages[0].lParam, messages[1].lParam}),
              (std::multiset<LPARAM>{static_cast<LPARAM>(qel::test::SegmentBody(0).size()),
                                     static_cast<LPARAM>(qel::test::SegmentBody(1).size())}));
    EXPECT_EQ(m_probe.Opens(), 1);

    ASSERT_EQ(RequestedSegments().size(), 10u);
    const std::vector<std::vector<int>> vecGroups{{0, 1}, {2, 3, 4}, {5, 6, 7}, {8, 9}};
    EXPECT_EQ(RequestRuns({2, 3, 3, 2}), vecGroups);
    for (size_t g = 0; g < vecGroups.size(); ++g) {
        Clock::time_point tpFirst = Clock::time_point::max(), tpLast = Clock::time_point::min();
        for (int i : vecGroups[g]) {
            tpFirst = std::min(tpFirst, RequestTime(i));
            tpLast = std::max(tpLast, RequestTime(i));
        }
        // A group's segments are fetched together: each asked for before the others' bodies came.
        EXPECT_LT(tpLast - tpFirst, kStall) << "group " << g;
        if (g + 1 < vecGroups.size()) {
            for (int i : vecGroups[g + 1])
                EXPECT_GE(RequestTime(i) - tpLast, kStall) << "segment " << i << " before group " << g << " was complete";
        }
    }

    EXPECT_EQ(m_log.Count("[QelTSPackage::SetTSItems@"), 1);
    EXPECT_EQ(m_log.Count("] Create group(index:0) for ts index 0 and 1\r\n"), 1);
    EXPECT_EQ(m_log.Count("[QelTSPackage::WaitDownloadTS@"), 1);
    EXPECT_EQ(m_log.Count("] TS group finished\r\n"), 1);
    EXPECT_EQ(m_log.Count("] Resume download for group index 1, include ts 2 to 4\r\n"), 1);
    EXPECT_EQ(m_log.Count("] Resume download for group index 2, include ts 5 to 7\r\n"), 1);
    EXPECT_EQ(m_log.Count("] Resume download for group index 3, include ts 8 to 9\r\n"), 1);
    EXPECT_EQ(m_log.Count("] Resume download for group"), 3);
}

struct ShortVideo {
    int nSegments;
    std::vector<const char*> vecResumed;  // the waiting groups, as the scheduler logs them
};

std::ostream& operator<<(std::ostream& os, const ShortVideo& video) { return os << video.nSegments << " segments"; }

class ShortVideoTest : public PackageTest, public ::testing::WithParamInterface<ShortVideo> {};

TEST_P(ShortVideoTest, WaitingGroupsGetTheirNumbersAndRanges) {
    const ShortVideo& video = GetParam();
    Start(video.nSegments);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, static_cast<size_t>(video.nSegments)).size(),
              static_cast<size_t>(video.nSegments));
    EXPECT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);
    EXPECT_TRUE(Drain(kQuiet).empty());
    for (int i = 0; i < video.nSegments; ++i)
        EXPECT_EQ(RequestsFor(i), 1) << i;
    EXPECT_EQ(static_cast<int>(RequestedSegments().size()), video.nSegments);
    EXPECT_EQ(m_probe.Opens(), 1);
    // The first group's text is the same whatever the length.
    EXPECT_EQ(m_log.Count("] Create group(index:0) for ts index 0 and 1\r\n"), 1);
    for (const char* szResumed : video.vecResumed)
        EXPECT_EQ(m_log.Count(std::string("] Resume download for group index ") + szResumed + "\r\n"), 1) << m_log.Text();
    EXPECT_EQ(m_log.Count("] Resume download for group"), static_cast<int>(video.vecResumed.size()));
}

INSTANTIATE_TEST_SUITE_P(Package, ShortVideoTest,
                         ::testing::Values(ShortVideo{1, {}},
                                           // The remainder counts on from 0 when no group of
                                           // three came before it.
                                           ShortVideo{3, {"1, include ts 1 to 1"}},
                                           ShortVideo{4, {"1, include ts 1 to 2"}},
                                           ShortVideo{5, {"1, include ts 2 to 4"}},
                                           ShortVideo{6, {"1, include ts 2 to 4", "2, include ts 5 to 5"}}),
                         [](const auto& info) { return std::to_string(info.param.nSegments) + "Segments"; });

TEST_F(PackageTest, OneSegmentVideoHasOneGroupWithTheRangeOfTwo) {
    Start(1);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);
    QelTSGroup* pGroup = m_pPackage->FindGroup(1);
    ASSERT_NE(pGroup, nullptr);
    EXPECT_EQ(pGroup->GetGroupIndex(), 0);
    EXPECT_EQ(m_pPackage->FindGroup(0), pGroup);
    EXPECT_EQ(m_pPackage->FindGroup(2), nullptr);
}

TEST_F(PackageTest, FourSegmentsSeekResolvesTS1ToGroup0AndTS3ToANewGroup) {
    Start(4);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 4).size(), 4u);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);

    // Group 0 is searched first; resuming it again starts downloaders that find both files.
    m_pPackage->CreateTSGroup(1);
    EXPECT_EQ(m_log.Count("] Resume download for group index 0, include ts 0 to 1\r\n"), 1);
    // The waiting group (range 1..2) has been started and left the lists: TS 3 is in no group.
    EXPECT_EQ(m_pPackage->FindGroup(3), nullptr);
    std::filesystem::remove(QelTestTempDir::NativePath(CachePath(3)));
    m_pPackage->CreateTSGroup(3);
    EXPECT_EQ(m_log.Count("] Create new group(index:2) for ts index 3\r\n"), 1) << m_log.Text();
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 1).size(), 1u);
    EXPECT_EQ(RequestsFor(3), 2);
    EXPECT_EQ(m_pPackage->FindGroup(3)->GetGroupIndex(), 2);
    EXPECT_TRUE(Drain(kQuiet).empty());
    EXPECT_EQ(m_server.RequestCount(), 5u);
}

TEST_F(PackageTest, EverythingCachedMakesNoRequestAndPostsNothing) {
    for (int i = 0; i < 10; ++i)
        Cache(i);
    Start(10);
    // The first waiting group completes the moment it is resumed, inside the scheduler's own
    // turn, which then lowers the flag again: the chain rests after that group.
    ASSERT_TRUE(Eventually([&] { return m_log.Count("] Resume download for group index 1, include ts 2 to 4") == 1; }));
    EXPECT_EQ(m_probe.Opens(), 1);
    EXPECT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);
    EXPECT_TRUE(Drain(kQuiet).empty());
    EXPECT_EQ(m_server.RequestCount(), 0u);
    EXPECT_TRUE(CacheHoldsOnlyWholeSegments());
}

TEST_F(PackageTest, SeekIntoAWaitingGroupStartsItAtOnceAndHaltsTheChain) {
    for (int i : {2, 3, 4})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Throttle(100 * 1024));  // about half a second
    Start(10);
    ASSERT_TRUE(m_server.WaitForRequests(5, kHangBound));
    // The scheduler ends the turn that started group 1 by clearing the seek; the seek below
    // must come after that, which the requests of group 1 do not quite prove. The margin is
    // for loaded machines (and Wine), where a thread may wait long for its turn.
    std::this_thread::sleep_for(300ms);

    // While group 1 (TS 2-4) downloads, a seek to TS 6 starts group 2 (TS 5-7) at once.
    m_pPackage->CreateTSGroup(6);
    EXPECT_EQ(m_log.Count("] Resume download for group index 2, include ts 5 to 7\r\n"), 1);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 8).size(), 8u);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);
    // Neither completion wakes the scheduler while the seek is served: TS 8-9 wait.
    EXPECT_TRUE(Drain(kQuiet).empty());
    EXPECT_EQ(RequestRuns({2, 3, 3}), (std::vector<std::vector<int>>{{0, 1}, {2, 3, 4}, {5, 6, 7}}));
    EXPECT_EQ(m_server.RequestCount(), 8u);

    // A request for TS 1 resumes group 0 again; its new downloaders find both files and wake
    // the scheduler, which then looks for group 1, already started: nothing more happens.
    m_pPackage->CreateTSGroup(1);
    EXPECT_EQ(m_log.Count("] Resume download for group index 0, include ts 0 to 1\r\n"), 1);
    EXPECT_TRUE(Drain(kQuiet).empty());
    EXPECT_EQ(m_server.RequestCount(), 8u);

    // Only a seek into it starts the last group.
    m_pPackage->CreateTSGroup(8);
    EXPECT_EQ(m_log.Count("] Resume download for group index 3, include ts 8 to 9\r\n"), 1);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 2).size(), 2u);
    EXPECT_TRUE(Drain(kQuiet).empty());
    EXPECT_EQ(m_server.RequestCount(), 10u);
    EXPECT_TRUE(CacheHoldsOnlyWholeSegments());
}

TEST_F(PackageTest, SeekBeforeTheSchedulersNextTurnMovesTheChainPastTheGroupItStarts) {
    // The seek has to come between the report of the first group and the scheduler's next
    // turn, 100 ms later. A turn that came first shows in the log, and the run is made again.
    for (int nAttempt = 0; nAttempt < 5; ++nAttempt) {
        m_pPackage.reset();
        for (const std::string& strName : CacheFiles())
            std::filesystem::remove(QelTestTempDir::NativePath(m_cache / QelString::Utf8ToUnicode(strName)));
        Drain(std::chrono::milliseconds(0));
        m_server.ClearRequests();
        const qel::test::LogCapture log;

        Start(10);
        ASSERT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);
        m_pPackage->CreateTSGroup(6);
        ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 7).size(), 7u);
        EXPECT_TRUE(Drain(kQuiet).empty());
        if (log.Count("] Resume download for group index 1,") != 0)
            continue;

        // Group 2 (TS 5-7) starts at once; the raised flag makes the next turn start group 3
        // (TS 8-9); group 1 (TS 2-4) is left waiting, and is still found there.
        EXPECT_EQ(RequestRuns({2, 3, 2}), (std::vector<std::vector<int>>{{0, 1}, {5, 6, 7}, {8, 9}}));
        EXPECT_EQ(m_server.RequestCount(), 7u);
        EXPECT_EQ(log.Count("] Resume download for group index 2, include ts 5 to 7\r\n"), 1);
        EXPECT_EQ(log.Count("] Resume download for group index 3, include ts 8 to 9\r\n"), 1);
        ASSERT_NE(m_pPackage->FindGroup(3), nullptr);
        EXPECT_EQ(m_pPackage->FindGroup(3)->GetGroupIndex(), 1);
        return;
    }
    FAIL() << "the scheduler's turn came before the seek in every run";
}

TEST_F(PackageTest, EarlySeekOutsideAnyGroupTakesNumberOneAndHaltsTheChain) {
    m_server.SetFault(SegmentPath(0), TestHttpFault::Stall(0, 300));
    m_server.SetFault(SegmentPath(7), TestHttpFault::Status(404));
    Start(10);
    m_pPackage->CreateTSGroup(7);
    EXPECT_EQ(m_log.Count("] Create new group(index:1) for ts index 7\r\n"), 1);
    const auto failed = ReceiveN(QEL_VIDEO_DOWNLOAD_FAILED, 1);
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].wParam, 1u);
    EXPECT_EQ(failed[0].lParam, 7);
    // The same index again is ignored, although its group failed; so are indexes outside.
    m_pPackage->CreateTSGroup(7);
    m_pPackage->CreateTSGroup(-1);
    m_pPackage->CreateTSGroup(10);

    EXPECT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 2).size(), 2u);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);
    // The waiting groups are numbered 2 to 4; the scheduler looks for number 1 and starts none.
    std::this_thread::sleep_for(kQuiet);
    EXPECT_EQ(RequestRuns({3}), (std::vector<std::vector<int>>{{0, 1, 7}}));
    EXPECT_EQ(m_server.RequestCount(), 3u);
    EXPECT_EQ(m_log.Count("] Create new group"), 1);
    EXPECT_EQ(m_log.Count("] Resume download for group"), 0);

    // A seek that lands in a waiting group moves the chain on.
    m_pPackage->CreateTSGroup(9);
    EXPECT_EQ(m_log.Count("] Resume download for group index 4, include ts 8 to 9\r\n"), 1);
    EXPECT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 2).size(), 2u);
    EXPECT_TRUE(Drain(kQuiet).empty());
    EXPECT_EQ(m_server.RequestCount(), 5u);
}

struct ChainFault {
    const char* szName;
    int nSegment;
    TestHttpFault fault;
    int nLastRequested;  // the chain ends with the group holding the failed segment
};

std::ostream& operator<<(std::ostream& os, const ChainFault& c) { return os << c.szName; }

class ChainFaultTest : public PackageTest, public ::testing::WithParamInterface<ChainFault> {};

TEST_P(ChainFaultTest, AFailedSegmentIsReportedOnceAndStallsTheChainAtItsGroup) {
    const ChainFault& c = GetParam();
    m_server.SetFault(SegmentPath(c.nSegment), c.fault);
    Start(10);
    const auto failed = ReceiveN(QEL_VIDEO_DOWNLOAD_FAILED, 1);
    ASSERT_EQ(failed.size(), 1u);
    EXPECT_EQ(failed[0].wParam, 1u);
    EXPECT_EQ(failed[0].lParam, c.nSegment);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, static_cast<size_t>(c.nLastRequested)).size(),
              static_cast<size_t>(c.nLastRequested));
    // Playback starts only once TS 0 and 1 are both cached.
    EXPECT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1, 10ms).size(), c.nSegment > 1 ? 1u : 0u);
    EXPECT_TRUE(Drain(kQuiet).empty());

    EXPECT_EQ(static_cast<int>(m_server.RequestCount()), c.nLastRequested + 1);
    for (int i = 0; i <= c.nLastRequested; ++i)
        EXPECT_EQ(RequestsFor(i), 1) << i;
    EXPECT_FALSE(IsCached(c.nSegment));
    EXPECT_TRUE(CacheHoldsOnlyWholeSegments());
}

INSTANTIATE_TEST_SUITE_P(Package, ChainFaultTest,
                         ::testing::Values(ChainFault{"NotFoundInGroup0", 1, TestHttpFault::Status(404), 1},
                                           ChainFault{"NotFoundInGroup1", 3, TestHttpFault::Status(404), 4},
                                           ChainFault{"ResetInGroup2", 6, TestHttpFault::ResetAfter(20000), 7},
                                           ChainFault{"ShortBodyInGroup3", 9, TestHttpFault::ShortBody(1), 9}),
                         [](const auto& info) { return std::string(info.param.szName); });

TEST_F(PackageTest, StopAbortsTheTransfersOfStartedGroupsAndDestructionDoesNotWait) {
    for (int i : {0, 1, 5})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Throttle(4 * 1024));  // over ten seconds
    Start(10);
    m_pPackage->CreateTSGroup(5);
    ASSERT_TRUE(m_server.WaitForRequests(3, kHangBound));

    const auto tpStop = Clock::now();
    m_pPackage->StopDownload();
    const auto failed = ReceiveN(QEL_VIDEO_DOWNLOAD_FAILED, 3, 10s);
    const auto elapsed = Clock::now() - tpStop;
    ASSERT_EQ(failed.size(), 3u);
    EXPECT_LT(elapsed, 1s);
    std::set<LPARAM> setIndexes;
    for (const auto& message : failed)
        setIndexes.insert(message.lParam);
    EXPECT_EQ(setIndexes, (std::set<LPARAM>{0, 1, 5}));

    // The scheduler still waits for a completion that will not come; destruction ends it.
    m_pPackage.reset();
    EXPECT_EQ(m_probe.Opens(), 0);
    EXPECT_TRUE(CacheFiles().empty());
    EXPECT_EQ(m_server.RequestCount(), 3u);
}

TEST_F(PackageTest, DestructionEndsTheTransfersOfGroupsTheSchedulerStarted) {
    for (int i : {2, 3, 4})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Throttle(4 * 1024));
    Start(10);
    ASSERT_TRUE(m_server.WaitForRequests(5, kHangBound));
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 2).size(), 2u);
    ASSERT_EQ(ReceiveN(QEL_VIDEO_STARTED, 1).size(), 1u);

    // A stop does not reach a group the scheduler has taken out of its waiting list.
    m_pPackage->StopDownload();
    EXPECT_TRUE(Drain(kQuiet).empty());

    m_pPackage.reset();
    const auto failed = ReceiveN(QEL_VIDEO_DOWNLOAD_FAILED, 3, 5s);
    EXPECT_EQ(failed.size(), 3u);
    EXPECT_EQ(CacheFiles(), (std::set<std::string>{"seg0.ts", "seg1.ts"}));
    EXPECT_TRUE(CacheHoldsOnlyWholeSegments());
}

TEST_F(PackageTest, DestructionBeforeAnyItemsAndWithoutWindowIsQuiet) {
    { QelTSPackage idle(nullptr, nullptr, 0, 0); }
    {
        QelTSPackage package(nullptr, nullptr, 0, 0);
        package.SetTSItems(std::vector<QelTSItem>{});
        package.CreateTSGroup(0);
        EXPECT_EQ(package.FindGroup(0), nullptr);
    }
    EXPECT_EQ(m_server.RequestCount(), 0u);
    EXPECT_TRUE(Drain(100ms).empty());
}

}  // namespace
