// The engine playing an HLS video from its cache with real libvlc: segments read back to
// back, a wait while the cache fills, seeks by segment, the end, and input it cannot play.
#include <gtest/gtest.h>

#include <limits>
#include <thread>

#include "EngineTestSupport.h"
#include "support/TestNotifyWindow.h"
#include "video/QelMessages.h"
#include "video/QelVideoEngine.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;
using namespace qel::test;

namespace {

// Closing while a segment is awaited must not wait for it (which would be forever).
constexpr auto kCloseHangBound = std::chrono::seconds(5) * kSanitizerSlowdown;

class HlsEngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QelVlc::Api())
            GTEST_SKIP() << "libvlc is not available here";
    }
    void TearDown() override { QelVideoPlayerClose(m_player); }

    QelVideoPlayerHandle Open(std::vector<QelTSItem> vecItems, const char* szPath = "index.m3u8") {
        m_player = QelVideoPlayerOpen(szPath, &vecItems, m_window.Handle());
        return m_player;
    }
    // Waiting for a segment at llFrom or later. libvlc's own buffering at the start is
    // "caching" too, so a wait further in is told by the position.
    bool WaitingFrom(std::int64_t llFrom) {
        return Eventually([&] { return State(m_player) == QEL_STATE_CACHING && Position(m_player) >= llFrom; }, 30s);
    }

    // Receives until the end event, checking on the way that the position never goes
    // back; false on time-out.
    bool PlaysToTheEnd(std::int64_t* pllLast = nullptr) {
        std::int64_t llPrevious = 0;
        const auto deadline = std::chrono::steady_clock::now() + 30s;
        while (std::chrono::steady_clock::now() < deadline) {
            const std::int64_t llNow = Position(m_player);
            EXPECT_GE(llNow, llPrevious) << "the position went back";
            llPrevious = llNow;
            if (auto message = m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 30ms)) {
                EXPECT_EQ(message->wParam, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
                if (pllLast)
                    *pllLast = llNow;
                return true;
            }
        }
        return false;
    }

    TestNotifyWindow m_window;
    QelVideoPlayerHandle m_player = nullptr;
};

TEST_F(HlsEngineTest, FullyCachedVideoPlaysToTheEndOnceAndAgainFromTheStart) {
    SegmentCache cache;
    ASSERT_NE(Open(cache.Items()), nullptr);
    EXPECT_EQ(Width(m_player), 320);
    EXPECT_EQ(Duration(m_player), 5000);
    EXPECT_EQ(State(m_player), QEL_STATE_PAUSED);

    QelVideoPlayerPlay(m_player);
    std::int64_t llLast = 0;
    ASSERT_TRUE(PlaysToTheEnd(&llLast));
    EXPECT_GE(llLast, 4000) << "played through the last segment";
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 500ms));
    EXPECT_EQ(State(m_player), QEL_STATE_ENDED);
    EXPECT_EQ(Position(m_player), 5000);

    QelVideoPlayerPlay(m_player);
    EXPECT_LT(Position(m_player), 1000);
    EXPECT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_PLAYING && Position(m_player) > 0; }));
}

TEST_F(HlsEngineTest, ReachingASegmentNotOnDiskAsksForItOnceWaitsAndGoesOnWhenItArrives) {
    SegmentCache cache({2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    // A host that starts playback late: read-ahead met the gap long before.
    std::this_thread::sleep_for(3s);
    QelVideoPlayerPlay(m_player);
    // Two seconds of playback, plus libvlc loading its decoders on a process's first
    // playback, which takes many seconds under ThreadSanitizer.
    auto needed = m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 30s);
    ASSERT_TRUE(needed);
    EXPECT_EQ(needed->wParam, 2u);
    ASSERT_TRUE(WaitingFrom(1000)) << "played the cached segments first";
    EXPECT_LE(Position(m_player), 2000);
    EXPECT_FALSE(m_window.Receive(500ms)) << "asked once per wait, and a wait is not the end";

    cache.Release({2, 3, 4});
    std::int64_t llLast = 0;
    ASSERT_TRUE(PlaysToTheEnd(&llLast));
    EXPECT_GE(llLast, 4000);
}

TEST_F(HlsEngineTest, SeekToASegmentNotOnDiskWaitsForIt) {
    SegmentCache cache({2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    QelVideoPlayerPlay(m_player);
    QelVideoPlayerSeek(m_player, 3200);
    // Playback may first have reached segment 2, which it then needed next as well.
    auto seek = m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 5s);
    if (seek && seek->wParam == 2u)
        seek = m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 5s);
    ASSERT_TRUE(seek);
    EXPECT_EQ(seek->wParam, 3u);
    EXPECT_TRUE(WaitingFrom(3000));
    EXPECT_EQ(Position(m_player), 3000) << "from the start of the segment that holds the time";

    cache.Release({3, 4});
    EXPECT_TRUE(Eventually([&] { return Position(m_player) > 3000; }));
    EXPECT_TRUE(PlaysToTheEnd());
}

TEST_F(HlsEngineTest, PauseIsReportedEvenWhileWaitingForASegment) {
    SegmentCache cache({2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(WaitingFrom(1000));
    QelVideoPlayerPause(m_player);
    EXPECT_EQ(State(m_player), QEL_STATE_PAUSED);
    QelVideoPlayerPlay(m_player);
    EXPECT_EQ(State(m_player), QEL_STATE_CACHING);
}

TEST_F(HlsEngineTest, NothingCachedYetOpensWaitingAndClosesWithoutWaiting) {
    SegmentCache cache({0, 1, 2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    EXPECT_EQ(Width(m_player), 0) << "nothing states the size yet";
    EXPECT_EQ(Duration(m_player), 5000);
    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(WaitingFrom(0));
    const auto tpStart = std::chrono::steady_clock::now();
    QelVideoPlayerClose(m_player);
    m_player = nullptr;
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kCloseHangBound);
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 200ms)) << "a close is not the end";
}

// ---------------------------------------------------------------------------------------
// Input the engine cannot play, or only in part.

TEST_F(HlsEngineTest, SegmentsThatCanNeverPlayGiveTheZeroHandle) {
    SegmentCache cache;
    std::vector<QelTSItem> vecNoPaths = cache.Items();
    for (QelTSItem& item : vecNoPaths)
        item.strLocalPath.clear(), item.strLocalPathA.clear();
    EXPECT_EQ(Open(vecNoPaths), nullptr);

    for (int i = 0; i < kSampleSegments; ++i)
        cache.Overwrite(i, "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nindex0.ts\n");
    EXPECT_EQ(Open(cache.Items()), nullptr);
    EXPECT_FALSE(m_window.Receive(100ms));
}

struct DamagedCase {
    const char* pszBehaviour;
    const char* szPath;  // the playlist path, never read
    float fDuration;     // of every segment
    int nDamaged;        // segment replaced by bytes that are not TS, -1 for none
    int nTruncated;      // segment cut to half its length, -1 for none
};

void PrintTo(const DamagedCase& c, std::ostream* pOut) { *pOut << c.pszBehaviour; }

class DamagedHlsTest : public HlsEngineTest, public ::testing::WithParamInterface<DamagedCase> {};

TEST_P(DamagedHlsTest, PlaysWhatItCanToTheEnd) {
    const DamagedCase& c = GetParam();
    SegmentCache cache;
    if (c.nDamaged >= 0)
        cache.Overwrite(c.nDamaged, std::string(4000, 'x'));
    if (c.nTruncated >= 0)
        cache.Truncate(c.nTruncated);
    std::vector<QelTSItem> vecItems = cache.Items();
    for (QelTSItem& item : vecItems)
        item.fDuration = c.fDuration;
    ASSERT_NE(Open(vecItems, c.szPath), nullptr);
    EXPECT_EQ(Width(m_player), 320);
    const std::int64_t llDuration = Duration(m_player);

    std::int32_t nSpeed = 400;
    QelVideoPlayerSetParam(m_player, QEL_PARAM_SPEED, &nSpeed);
    QelVideoPlayerPlay(m_player);
    std::int64_t llLast = 0;
    ASSERT_TRUE(PlaysToTheEnd(&llLast));
    if (llDuration > 0) {
        EXPECT_LE(llLast, llDuration);
    }
    QelVideoPlayerSeek(m_player, 1500);
    EXPECT_TRUE(m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 5s));
}

INSTANTIATE_TEST_SUITE_P(
    Input, DamagedHlsTest,
    ::testing::Values(DamagedCase{"FirstSegmentNotTs", "index.m3u8", 1.0f, 0, -1},
                      DamagedCase{"MiddleSegmentNotTs", "index.m3u8", 1.0f, 2, -1},
                      DamagedCase{"TruncatedSegment", "index.m3u8", 1.0f, -1, 1},
                      DamagedCase{"NullPlaylistPath", nullptr, 1.0f, -1, -1},
                      DamagedCase{"NotANumberDurations", "index.m3u8", std::numeric_limits<float>::quiet_NaN(),
                                  -1, -1}),
    [](const ::testing::TestParamInfo<DamagedCase>& info) { return std::string(info.param.pszBehaviour); });

}  // namespace
