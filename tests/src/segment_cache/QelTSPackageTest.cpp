// The scheduler against the loopback server: which segments are fetched when, the group
// numbers and ranges it logs, the first-group call, seeks, faults, stop and destruction.
#include "segment_cache/QelTSPackage.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <thread>

#include "QelSegmentFixture.h"
#include "segment_cache/QelTSGroup.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::TestHttpFault;
using qel::test::Eventually;
using qel::test::kHangBound;

namespace {

constexpr long long kUserData = 0x100000002LL;  // messages carry the low 32 bits: 2
// Long enough for the scheduler to see several quiet polling periods.
constexpr auto kQuiet = 400ms;

class PackageTest : public qel::test::SegmentFixture {
protected:
    PackageTest() : SegmentFixture(2), m_probe(m_hWnd) {}

    void Start(int nSegments) {
        m_pPackage = std::make_unique<QelTSPackage>(m_probe.File(), &m_hWnd, 0, kUserData);
        m_pPackage->SetTSItems(Items(nSegments));
    }
    // The requests in the order they came, cut into runs of the given sizes, each run
    // sorted: "0 1 | 2 3 4".
    std::string RequestRuns(const std::vector<size_t>& vecSizes) const {
        const std::vector<int> vecAll = RequestedSegments();
        std::string strRuns;
        size_t nPos = 0;
        for (size_t nSize : vecSizes) {
            std::vector<int> vecRun(vecAll.begin() + static_cast<long>(std::min(nPos, vecAll.size())),
                                    vecAll.begin() + static_cast<long>(std::min(nPos + nSize, vecAll.size())));
            std::sort(vecRun.begin(), vecRun.end());
            strRuns += nPos == 0 ? "" : " |";
            for (int n : vecRun)
                strRuns += (strRuns.empty() ? "" : " ") + std::to_string(n);
            nPos += nSize;
        }
        return strRuns;
    }
    std::string AllSegmentsWhole(int nCount) const {
        std::string strListing;
        for (int i = 0; i < nCount; ++i)
            strListing += (i ? " seg" : "seg") + std::to_string(i) + ".ts";
        return strListing;
    }

    qel::test::PlaybackProbe m_probe;
    std::unique_ptr<QelTSPackage> m_pPackage;
};

TEST_F(PackageTest, TenSegmentsComeTwoThenThreeAtATimeEachGroupAfterThePrevious) {
    // No body is complete sooner than this after its request.
    constexpr auto kStall = 300ms;
    for (int i = 0; i < 10; ++i)
        m_server.SetFault(SegmentPath(i), TestHttpFault::Stall(0, static_cast<int>(kStall.count())));
    Start(10);
    ASSERT_TRUE(Eventually([&] { return CacheListing() == AllSegmentsWhole(10); }, kHangBound)) << CacheListing();

    Pump(kQuiet);
    EXPECT_EQ(Describe(), "ok ok started ok ok ok ok ok ok ok ok");
    EXPECT_EQ(RequestRuns({2, 3, 3, 2}), "0 1 | 2 3 4 | 5 6 7 | 8 9");
    const auto requests = m_server.Requests();
    ASSERT_EQ(requests.size(), 10u);
    for (size_t nFirstOfGroup : {2, 5, 8})
        EXPECT_GE(requests[nFirstOfGroup].tpTime - requests[nFirstOfGroup - 1].tpTime, kStall)
            << "request " << nFirstOfGroup << " came before the group before it was complete";
    EXPECT_EQ(m_log.Groups(), "first 0 ready resume 1:2-4 resume 2:5-7 resume 3:8-9");
    EXPECT_EQ(m_log.Count("[QelTSPackage::SetTSItems@"), 1);
    EXPECT_EQ(m_log.Count("[QelTSPackage::WaitDownloadTS@"), 1);
}

struct ShortVideo {
    int nSegments;
    const char* pszRequested;  // each once
    const char* pszPosted;
    const char* pszGroups;
};

std::ostream& operator<<(std::ostream& os, const ShortVideo& video) { return os << video.nSegments << " segments"; }

class ShortVideoTest : public PackageTest, public ::testing::WithParamInterface<ShortVideo> {};

TEST_P(ShortVideoTest, WaitingGroupsGetTheirNumbersAndRanges) {
    const ShortVideo& video = GetParam();
    Start(video.nSegments);
    ASSERT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, video.nSegments));
    Pump(kQuiet);
    EXPECT_EQ(Describe(), video.pszPosted);
    EXPECT_EQ(RequestRuns({99}), video.pszRequested);
    EXPECT_EQ(CacheListing(), AllSegmentsWhole(video.nSegments));
    EXPECT_EQ(m_log.Groups(), video.pszGroups);
    // Group 0's range is 0..1 whatever the length, and it is searched first.
    ASSERT_NE(m_pPackage->FindGroup(1), nullptr);
    EXPECT_EQ(m_pPackage->FindGroup(1)->GetGroupIndex(), 0);
}

INSTANTIATE_TEST_SUITE_P(Package, ShortVideoTest,
                         ::testing::Values(ShortVideo{1, "0", "ok started", "first 0 ready"},
                                           // The remainder counts on from 0 when no group of
                                           // three came before it.
                                           ShortVideo{4, "0 1 2 3", "ok ok started ok ok", "first 0 ready resume 1:1-2"}),
                         [](const auto& info) { return std::to_string(info.param.nSegments) + "Segments"; });

TEST_F(PackageTest, EverythingCachedMakesNoRequestAndPostsOnlyTheStart) {
    for (int i = 0; i < 10; ++i)
        Cache(i);
    Start(10);
    // The first waiting group completes the moment it is resumed, inside the scheduler's own
    // turn, which then lowers the flag again: the chain rests after that group.
    constexpr const char* kGroups = "first 0 ready resume 1:2-4";
    ASSERT_TRUE(Eventually([&] { return m_log.Groups() == kGroups; }, kHangBound)) << m_log.Groups();
    Pump(kQuiet);
    EXPECT_EQ(Describe(), "started");
    EXPECT_EQ(m_log.Groups(), kGroups);
    EXPECT_EQ(m_server.RequestCount(), 0u);
}

TEST_F(PackageTest, SeekIntoAWaitingGroupStartsItAtOnceAndHaltsTheChain) {
    for (int i : {2, 3, 4})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Throttle(12 * 1024));  // about four seconds
    Start(10);
    ASSERT_TRUE(m_server.WaitForRequests(5, kHangBound));
    // The scheduler ends the turn that started group 1 by clearing the seek; the seek below
    // has to come after that, well before group 1 is complete.
    std::this_thread::sleep_for(1s);

    // While group 1 (TS 2-4) downloads, a seek to TS 6 starts group 2 (TS 5-7) at once.
    m_pPackage->CreateTSGroup(6);
    ASSERT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 8));
    // Neither completion wakes the scheduler while the seek is served: TS 8-9 wait.
    Pump(kQuiet);
    EXPECT_EQ(Describe(), "ok ok started ok ok ok ok ok ok");
    EXPECT_EQ(RequestRuns({2, 3, 3}), "0 1 | 2 3 4 | 5 6 7");
    EXPECT_EQ(m_server.RequestCount(), 8u);

    // A request for TS 1 resumes group 0 again; its new downloaders find both files and wake
    // the scheduler, which then looks for group 1, already started: nothing more happens.
    m_pPackage->CreateTSGroup(1);
    Pump(kQuiet);
    EXPECT_EQ(Messages().size(), 9u);
    EXPECT_EQ(m_server.RequestCount(), 8u);

    // Only a seek into it starts the last group.
    m_pPackage->CreateTSGroup(8);
    ASSERT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 10));
    Pump(kQuiet);
    EXPECT_EQ(Messages().size(), 11u);
    EXPECT_EQ(m_log.Groups(), "first 0 ready resume 1:2-4 resume 2:5-7 resume 0:0-1 resume 3:8-9");
    EXPECT_EQ(CacheListing(), AllSegmentsWhole(10));
}

TEST_F(PackageTest, EarlySeekOutsideAnyGroupTakesNumberOneAndHaltsTheChain) {
    for (int i : {0, 1})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Stall(0, 3000));
    m_server.SetFault(SegmentPath(7), TestHttpFault::Status(404));
    Start(10);
    m_pPackage->CreateTSGroup(7);
    ASSERT_TRUE(WaitFor(QEL_VIDEO_DOWNLOAD_FAILED));
    // The same index again is ignored, although its group failed; so are indexes outside.
    m_pPackage->CreateTSGroup(7);
    m_pPackage->CreateTSGroup(-1);
    m_pPackage->CreateTSGroup(10);

    // The waiting groups are numbered 2 to 4; the scheduler looks for number 1 and starts none.
    ASSERT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 2));
    Pump(kQuiet);
    EXPECT_EQ(Describe(), "failed(1,7) ok ok started");
    EXPECT_EQ(RequestRuns({3}), "0 1 7");
    EXPECT_EQ(m_server.RequestCount(), 3u);

    // A seek that lands in a waiting group moves the chain on.
    m_pPackage->CreateTSGroup(9);
    EXPECT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 4));
    Pump(kQuiet);
    EXPECT_EQ(Describe(), "failed(1,7) ok ok started ok ok");
    EXPECT_EQ(m_log.Groups(), "first 0 seek 1:7 ready resume 4:8-9");
    EXPECT_EQ(m_server.RequestCount(), 5u);
}

struct ChainFault {
    int nSegment;
    int nSucceeded;
    const char* pszRequested;  // the chain ends with the group holding the failed segment
    int nStarted;
};

std::ostream& operator<<(std::ostream& os, const ChainFault& c) { return os << "TS " << c.nSegment; }

class ChainFaultTest : public PackageTest, public ::testing::WithParamInterface<ChainFault> {};

TEST_P(ChainFaultTest, AFailedSegmentIsReportedOnceAndStallsTheChainAtItsGroup) {
    const ChainFault& c = GetParam();
    m_server.SetFault(SegmentPath(c.nSegment), TestHttpFault::Status(404));
    Start(10);
    const auto failed = WaitFor(QEL_VIDEO_DOWNLOAD_FAILED);
    ASSERT_TRUE(failed);
    EXPECT_EQ(failed->lParam, c.nSegment);
    ASSERT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, c.nSucceeded));
    Pump(kQuiet);
    // Playback starts only once TS 0 and 1 are both cached.
    EXPECT_EQ(Count(QEL_VIDEO_STARTED), c.nStarted);
    EXPECT_EQ(Messages().size(), static_cast<size_t>(1 + c.nSucceeded + c.nStarted)) << Describe();
    EXPECT_EQ(RequestRuns({99}), c.pszRequested);
    EXPECT_FALSE(IsCached(c.nSegment));
}

INSTANTIATE_TEST_SUITE_P(Package, ChainFaultTest,
                         ::testing::Values(ChainFault{1, 1, "0 1", 0}, ChainFault{3, 4, "0 1 2 3 4", 1}),
                         [](const auto& info) { return "FailedTS" + std::to_string(info.param.nSegment); });

TEST_F(PackageTest, StopAbortsTheTransfersOfStartedGroupsAndDestructionDoesNotWait) {
    for (int i : {0, 1, 5})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Throttle(4 * 1024));  // over ten seconds
    Start(10);
    m_pPackage->CreateTSGroup(5);
    ASSERT_TRUE(m_server.WaitForRequests(3, kHangBound));

    m_pPackage->StopDownload();
    // Well before the throttled bodies could end by themselves.
    EXPECT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_FAILED, 3, 6s));
    std::set<LPARAM> setIndexes;
    for (const auto& message : Messages())
        setIndexes.insert(message.lParam);
    EXPECT_EQ(setIndexes, (std::set<LPARAM>{0, 1, 5})) << Describe();

    // The scheduler still waits for a completion that will not come; destruction ends it.
    m_pPackage.reset();
    EXPECT_EQ(m_probe.Opens(), 0);
    EXPECT_EQ(CacheListing(), "");
    EXPECT_EQ(m_server.RequestCount(), 3u);
}

TEST_F(PackageTest, DestructionEndsTheTransfersOfGroupsTheSchedulerStarted) {
    for (int i : {2, 3, 4})
        m_server.SetFault(SegmentPath(i), TestHttpFault::Throttle(4 * 1024));
    Start(10);
    ASSERT_TRUE(m_server.WaitForRequests(5, kHangBound));
    ASSERT_TRUE(WaitFor(QEL_VIDEO_STARTED));

    // A stop does not reach a group the scheduler has taken out of its waiting list.
    m_pPackage->StopDownload();
    Pump(kQuiet);
    EXPECT_EQ(Describe(), "ok ok started");

    m_pPackage.reset();
    EXPECT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_FAILED, 3, 6s));
    EXPECT_EQ(CacheListing(), "seg0.ts seg1.ts");
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
    Pump(100ms);
    EXPECT_EQ(Describe(), "");
}

}  // namespace
