// A group of downloaders without a package, against the loopback server: when it starts and
// how often. How it stops is the package's tests' business, which stop it the same way.
#include "segment_cache/QelTSGroup.h"

#include <thread>

#include "QelSegmentFixture.h"
#include "video/QelMessages.h"

using namespace std::chrono_literals;
using qel::TestHttpFault;
using qel::test::kHangBound;

namespace {

using GroupTest = qel::test::SegmentFixture;

TEST_F(GroupTest, WithoutAutoStartNothingIsFetchedUntilResumedAndThenOnlyOnce) {
    QelTSGroup group(nullptr, &m_hWnd, 1, false, 0);
    group.SetRange(2, 4);
    group.SetTSItems(Items(3, true, 2));
    std::this_thread::sleep_for(200ms);
    EXPECT_EQ(m_server.RequestCount(), 0u);

    group.ResumeDownload();
    group.ResumeDownload();
    ASSERT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 3));
    Pump(200ms);
    EXPECT_EQ(Describe(), "ok ok ok");
    EXPECT_EQ(RequestedSegments().size(), 3u);
    EXPECT_EQ(CacheListing(), "seg2.ts seg3.ts seg4.ts");
    EXPECT_EQ(m_log.Groups(), "resume 1:2-4");
    EXPECT_EQ(m_log.Count("[QelTSGroup::ResumeDownload@"), 1);
}

TEST_F(GroupTest, ResumingAnAutoStartedGroupStartsASecondSetOfDownloaders) {
    Cache(0);
    m_server.SetFault(SegmentPath(1), TestHttpFault::Throttle(12 * 1024));  // about four seconds
    QelTSGroup group(nullptr, &m_hWnd, 0, true, 0);
    group.SetRange(0, 1);
    group.SetTSItems(Items(2));
    ASSERT_TRUE(m_server.WaitForRequests(1, kHangBound));

    // The second downloader of TS 1 fetches it again while the first is still at it, and
    // both report it; the cached TS 0 is accepted by its second downloader silently.
    group.ResumeDownload();
    EXPECT_TRUE(WaitForCount(QEL_VIDEO_DOWNLOAD_SUCCESS, 2));
    Pump(200ms);
    EXPECT_EQ(Describe(), "ok ok");
    EXPECT_EQ(RequestedSegments(), (std::vector<int>{1, 1}));
    EXPECT_EQ(CacheListing(), "seg0.ts seg1.ts");
    EXPECT_EQ(m_log.Groups(), "resume 0:0-1");
}

}  // namespace
