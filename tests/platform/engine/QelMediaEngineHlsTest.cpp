// The engine playing an HLS video from its cache with real libvlc: segments read back to
// back, a wait while the cache fills, seeks by segment, the end, and input it cannot play.
#include <gtest/gtest.h>

#include <cmath>
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

class HlsEngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QelVlc::Api())
            GTEST_SKIP() << "libvlc is not available here";
    }
    void TearDown() override {
        if (m_player)
            QelVideoPlayerClose(m_player);
    }
    QelVideoPlayerHandle Open(std::vector<QelTSItem> vecItems, const char* szPath = "index.m3u8") {
        m_player = QelVideoPlayerOpen(szPath, &vecItems, m_window.Handle());
        return m_player;
    }
    void SetSpeed(std::int32_t nPercent) { QelVideoPlayerSetParam(m_player, QEL_PARAM_SPEED, &nPercent); }

    // Receives until the end event, sampling the position on the way; false on time-out.
    bool PlayToTheEnd(std::vector<std::int64_t>* pvecPositions = nullptr, std::chrono::seconds timeout = 30s) {
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        while (std::chrono::steady_clock::now() < deadline) {
            if (pvecPositions)
                pvecPositions->push_back(Position(m_player));
            if (auto message = m_window.Receive(30ms); message && message->message == QEL_VIDEO_PLAYER_EVENT) {
                EXPECT_EQ(message->wParam, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
                return true;
            }
        }
        return false;
    }

    TestNotifyWindow m_window;
    QelVideoPlayerHandle m_player = nullptr;
};

// Closing while a segment is awaited must not wait for it.
constexpr auto kPromptClose = std::chrono::seconds(1) * kSanitizerSlowdown;

void ExpectMonotonic(const std::vector<std::int64_t>& vecPositions) {
    for (std::size_t i = 1; i < vecPositions.size(); ++i)
        ASSERT_GE(vecPositions[i], vecPositions[i - 1]) << "sample " << i;
}

TEST_F(HlsEngineTest, FullyCachedVideoPlaysToTheEndOnceWithAMonotonicPosition) {
    SegmentCache cache;
    ASSERT_NE(Open(cache.Items()), nullptr);
    std::int32_t nWidth = 0, nHeight = 0;
    QelVideoPlayerGetParam(m_player, QEL_PARAM_WIDTH, &nWidth);
    QelVideoPlayerGetParam(m_player, QEL_PARAM_HEIGHT, &nHeight);
    EXPECT_EQ(nWidth, 320);
    EXPECT_EQ(nHeight, 240);
    EXPECT_EQ(Duration(m_player), 5000);
    EXPECT_EQ(Position(m_player), 0);
    EXPECT_EQ(State(m_player), QEL_STATE_PAUSED);

    QelVideoPlayerPlay(m_player);
    std::vector<std::int64_t> vecPositions;
    ASSERT_TRUE(PlayToTheEnd(&vecPositions));
    ExpectMonotonic(vecPositions);
    EXPECT_GE(vecPositions.back(), 4000) << "played through the last segment";
    EXPECT_LE(vecPositions.back(), 5000);
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 500ms));
    EXPECT_EQ(State(m_player), QEL_STATE_ENDED);
    EXPECT_EQ(Position(m_player), 5000);

    // Play after the end starts over from the first segment.
    QelVideoPlayerPlay(m_player);
    EXPECT_LT(Position(m_player), 1000);
    EXPECT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_PLAYING && Position(m_player) > 0; }));
    EXPECT_LT(Position(m_player), 4000);
}

TEST_F(HlsEngineTest, WaitsCachingForSegmentsNotOnDiskAndGoesOnWhenTheyArrive) {
    SegmentCache cache({3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    QelVideoPlayerPlay(m_player);
    std::vector<std::int64_t> vecPositions;
    // libvlc's own buffering at the start is caching too; the wait that matters is at 2 s.
    ASSERT_TRUE(Eventually([&] {
        vecPositions.push_back(Position(m_player));
        return State(m_player) == QEL_STATE_CACHING && Position(m_player) >= 2000;
    }, 30s)) << "played the cached segments first, then waited";
    EXPECT_LE(Position(m_player), 3000);
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 300ms));
    EXPECT_EQ(State(m_player), QEL_STATE_CACHING);

    cache.Release(3);
    cache.Release(4);
    ASSERT_TRUE(PlayToTheEnd(&vecPositions));
    ExpectMonotonic(vecPositions);
    EXPECT_GE(vecPositions.back(), 4000);
}

TEST_F(HlsEngineTest, SeekPostsTheSegmentItNeedsAndPlaysOnFromThatSegment) {
    SegmentCache cache;
    ASSERT_NE(Open(cache.Items()), nullptr);
    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(Eventually([&] { return Position(m_player) > 200; }));

    QelVideoPlayerSeek(m_player, 3500);  // 70 %
    auto seek = m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 5s);
    ASSERT_TRUE(seek);
    EXPECT_EQ(seek->wParam, 3u);
    // From the start of the segment that holds the position, within a segment's length.
    std::vector<std::int64_t> vecPositions;
    ASSERT_TRUE(PlayToTheEnd(&vecPositions));
    ASSERT_FALSE(vecPositions.empty());
    EXPECT_GE(vecPositions.front(), 2500);
    ExpectMonotonic(vecPositions);
    EXPECT_GE(vecPositions.back(), 4000);
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
    EXPECT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_CACHING; }));
    EXPECT_EQ(Position(m_player), 3000);

    cache.Release(3);
    cache.Release(4);
    EXPECT_TRUE(Eventually([&] { return Position(m_player) > 3000; }));
    EXPECT_TRUE(PlayToTheEnd());
}

TEST_F(HlsEngineTest, PlaybackReachingAMissingSegmentAsksForItOnce) {
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
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 500ms));  // once per wait
    cache.Release(2);
    cache.Release(3);
    cache.Release(4);
    EXPECT_TRUE(PlayToTheEnd());
}

TEST_F(HlsEngineTest, PauseIsReportedEvenWhileWaitingForASegment) {
    SegmentCache cache({2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(Eventually([&] { return Position(m_player) > 200; }));
    QelVideoPlayerPause(m_player);
    ASSERT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_PAUSED; }));
    const std::int64_t llHeld = Position(m_player);
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(Position(m_player), llHeld);

    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_CACHING; }, 20s));
    QelVideoPlayerPause(m_player);
    EXPECT_EQ(State(m_player), QEL_STATE_PAUSED);
    QelVideoPlayerPlay(m_player);
    EXPECT_EQ(State(m_player), QEL_STATE_CACHING);
}

TEST_F(HlsEngineTest, CloseWhileWaitingForASegmentReturnsPromptly) {
    // The third file never appears.
    SegmentCache cache({2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_CACHING; }, 20s));
    const auto start = std::chrono::steady_clock::now();
    QelVideoPlayerClose(m_player);
    m_player = nullptr;
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPromptClose);
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 200ms)) << "a close is not the end";
}

TEST_F(HlsEngineTest, NothingCachedYetOpensWaitingAndClosesPromptly) {
    SegmentCache cache({0, 1, 2, 3, 4});
    ASSERT_NE(Open(cache.Items()), nullptr);
    std::int32_t nWidth = -1;
    QelVideoPlayerGetParam(m_player, QEL_PARAM_WIDTH, &nWidth);
    EXPECT_EQ(nWidth, 0) << "nothing states the size yet";
    EXPECT_EQ(Duration(m_player), 5000);
    QelVideoPlayerPlay(m_player);
    EXPECT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_CACHING; }));
    const auto start = std::chrono::steady_clock::now();
    QelVideoPlayerClose(m_player);
    m_player = nullptr;
    EXPECT_LT(std::chrono::steady_clock::now() - start, kPromptClose);
}

TEST_F(HlsEngineTest, OpenAndCloseManyTimes) {
    // Leaks would show under LeakSanitizer; a player left behind would hold the process.
    SegmentCache cache({4});
    for (int i = 0; i < 12 / kSanitizerSlowdown; ++i) {
        ASSERT_NE(Open(cache.Items()), nullptr) << "cycle " << i;
        if (i % 10 == 0)
            QelVideoPlayerPlay(m_player);
        QelVideoPlayerClose(m_player);
        m_player = nullptr;
    }
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
    const char* szName;
    const char* szPath;  // the playlist path, never read
    float fDuration;     // of every segment
    int nDamaged;        // segment replaced by bytes that are not TS, -1 for none
    int nTruncated;      // segment cut to half its length, -1 for none
};

void PrintTo(const DamagedCase& c, std::ostream* pOut) { *pOut << c.szName; }

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
    std::int32_t nWidth = 0;
    QelVideoPlayerGetParam(m_player, QEL_PARAM_WIDTH, &nWidth);
    EXPECT_EQ(nWidth, 320);
    const std::int64_t llDuration = Duration(m_player);
    EXPECT_GE(llDuration, 0);

    SetSpeed(400);
    QelVideoPlayerPlay(m_player);
    std::vector<std::int64_t> vecPositions;
    ASSERT_TRUE(PlayToTheEnd(&vecPositions));
    ExpectMonotonic(vecPositions);
    if (llDuration > 0) {
        EXPECT_LE(vecPositions.back(), llDuration);
    }
    QelVideoPlayerSeek(m_player, 1500);
    EXPECT_TRUE(m_window.ReceiveMessage(QEL_VIDEO_SEEK_TS, 5s));
}

const float kNan = std::numeric_limits<float>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Input, DamagedHlsTest,
    ::testing::Values(DamagedCase{"FirstSegmentNotTs", "index.m3u8", 1.0f, 0, -1},
                      DamagedCase{"MiddleSegmentNotTs", "index.m3u8", 1.0f, 2, -1},
                      DamagedCase{"TruncatedSegment", "index.m3u8", 1.0f, -1, 1},
                      DamagedCase{"NullPlaylistPath", nullptr, 1.0f, -1, -1},
                      DamagedCase{"EmptyPlaylistPath", "", 1.0f, -1, -1},
                      DamagedCase{"ZeroDurations", "index.m3u8", 0.0f, -1, -1},
                      DamagedCase{"NegativeDurations", "index.m3u8", -2.0f, -1, -1},
                      DamagedCase{"NotANumberDurations", "index.m3u8", kNan, -1, -1}),
    [](const ::testing::TestParamInfo<DamagedCase>& info) { return std::string(info.param.szName); });

}  // namespace
