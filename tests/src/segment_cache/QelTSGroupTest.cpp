// A group of downloaders without a package: when it starts, how often, and how it stops.
#include "segment_cache/QelTSGroup.h"

#include <thread>

#include "QelSegmentFixture.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::TestHttpFault;
using qel::test::kHangBound;

namespace {

using GroupTest = qel::test::SegmentFixture;

// A hang bound for a stop against stalled transfers, well under the downloads' 10 s stall
// time-out: only an abort ends them within it.
constexpr auto kAbortBound = 5s;

TEST_F(GroupTest, WithoutAutoStartNothingIsFetchedUntilResumedAndThenOnlyOnce) {
    QelTSGroup group(nullptr, &m_hWnd, 1, false, 3);
    group.SetRange(2, 4);
    group.SetTSItems(Items(3, true, 2));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(m_server.RequestCount(), 0u);

    group.ResumeDownload();
    group.ResumeDownload();
    ASSERT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 3).size(), 3u);
    EXPECT_TRUE(Drain(200ms).empty());
    for (int i = 2; i <= 4; ++i) {
        EXPECT_EQ(RequestsFor(i), 1) << i;
        EXPECT_TRUE(HoldsSegment(i)) << i;
    }
    EXPECT_EQ(m_log.Count("] Resume download for group index 1, include ts 2 to 4\r\n"), 1) << m_log.Text();
    EXPECT_EQ(m_log.Count("[QelTSGroup::ResumeDownload@"), 1);
}

TEST_F(GroupTest, ResumingAnAutoStartedGroupStartsASecondSetOfDownloaders) {
    Cache(0);
    m_server.SetFault(SegmentPath(1), TestHttpFault::Throttle(100 * 1024));  // half a second
    QelTSGroup group(nullptr, &m_hWnd, 0, true, 0);
    group.SetRange(0, 1);
    group.SetTSItems(Items(2));
    ASSERT_TRUE(m_server.WaitForRequests(1, kHangBound));

    // The second downloader of TS 1 fetches it again while the first is still at it, and
    // both report it; the cached TS 0 is accepted by its second downloader silently.
    group.ResumeDownload();
    ASSERT_TRUE(m_server.WaitForRequests(2, kHangBound));
    EXPECT_EQ(ReceiveN(QEL_VIDEO_DOWNLOAD_SUCCESS, 2).size(), 2u);
    EXPECT_TRUE(Drain(200ms).empty());
    EXPECT_TRUE(HoldsSegment(1));
    EXPECT_EQ(RequestsFor(0), 0);
    EXPECT_EQ(RequestsFor(1), 2);
    EXPECT_EQ(m_log.Count("] Resume download for group index 0, include ts 0 to 1\r\n"), 1);
}

TEST_F(GroupTest, StopThenDeletionAbortsEveryStalledTransferAndReportsEachAsFailed) {
    for (int i = 3; i <= 5; ++i)
        m_server.SetFault(SegmentPath(i), TestHttpFault::Stall(i == 3 ? 0 : 20000, 60000));
    auto pGroup = std::make_unique<QelTSGroup>(nullptr, &m_hWnd, 2, true, 0);
    pGroup->SetRange(3, 5);
    pGroup->SetTSItems(Items(3, true, 3));
    ASSERT_TRUE(m_server.WaitForRequests(3, kHangBound));
    std::this_thread::sleep_for(300ms);  // into the stalls

    const auto tpStop = qel::test::Clock::now();
    pGroup->StopDownload();
    const auto failed = ReceiveN(QEL_VIDEO_DOWNLOAD_FAILED, 3, 10s);
    const auto elapsed = qel::test::Clock::now() - tpStop;
    ASSERT_EQ(failed.size(), 3u);
    EXPECT_LT(elapsed, kAbortBound);
    std::set<LPARAM> setIndexes;
    for (const auto& message : failed) {
        EXPECT_EQ(message.wParam, 1u);
        setIndexes.insert(message.lParam);
    }
    EXPECT_EQ(setIndexes, (std::set<LPARAM>{3, 4, 5}));

    pGroup.reset();
    EXPECT_TRUE(CacheFiles().empty());
    EXPECT_TRUE(Drain(100ms).empty());
}

TEST_F(GroupTest, AnEmptyListLeavesNothingToResume) {
    QelTSGroup group(nullptr, &m_hWnd, 4, true, 0);
    group.SetTSItems({});
    group.ResumeDownload();
    EXPECT_EQ(m_log.Count("] Resume download for group index 4, include ts 0 to 0\r\n"), 1);
    EXPECT_TRUE(Drain(200ms).empty());
    EXPECT_EQ(m_server.RequestCount(), 0u);
}

}  // namespace
