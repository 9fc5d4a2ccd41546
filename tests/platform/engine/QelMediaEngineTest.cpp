// The real engine on real libvlc, driven through its eight functions. Where libvlc is not
// available (Windows without libvlc.dll) the same calls must fail softly.
#include "video/QelVideoEngine.h"

#include <gtest/gtest.h>

#include <thread>

#include "EngineTestSupport.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSampleContent.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;
using namespace qel::test;

namespace {

class EngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QelVlc::Api())
            GTEST_SKIP() << "libvlc is not available here";
    }
    void TearDown() override { QelVideoPlayerClose(m_player); }

    QelVideoPlayerHandle Open(const char* szName) {
        std::vector<QelTSItem> none;
        QelVideoPlayerClose(m_player);
        m_player = QelVideoPlayerOpen(SampleFileA(szName).c_str(), &none, m_window.Handle());
        return m_player;
    }

    TestNotifyWindow m_window;
    QelVideoPlayerHandle m_player = nullptr;
};

TEST_F(EngineTest, KnowsSizeAndDurationRightAfterOpenAndPostsTheEndOnce) {
    ASSERT_NE(Open("plain.mp4"), nullptr);
    std::int32_t nHeight = 0;
    QelVideoPlayerGetParam(m_player, QEL_PARAM_HEIGHT, &nHeight);
    EXPECT_EQ(Width(m_player), 320);
    EXPECT_EQ(nHeight, 240);
    EXPECT_NEAR(static_cast<double>(Duration(m_player)), 2000.0, 100.0);

    QelVideoPlayerPlay(m_player);
    auto end = m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 20s);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->wParam, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 300ms));
    EXPECT_EQ(State(m_player), QEL_STATE_ENDED);

    // Play after the end starts over and ends again.
    QelVideoPlayerPlay(m_player);
    EXPECT_TRUE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 20s));
}

TEST_F(EngineTest, PauseHoldsThePositionAndSeekMovesIt) {
    ASSERT_NE(Open("plain.mp4"), nullptr);
    QelVideoPlayerPlay(m_player);
    ASSERT_TRUE(Eventually([&] { return Position(m_player) > 200; }));
    QelVideoPlayerPause(m_player);
    ASSERT_TRUE(Eventually([&] { return State(m_player) == QEL_STATE_PAUSED; }));
    const std::int64_t llHeld = Position(m_player);
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(Position(m_player), llHeld);

    QelVideoPlayerSeek(m_player, 1500);
    EXPECT_TRUE(Eventually([&] { return Position(m_player) >= 1400; })) << Position(m_player);
}

TEST_F(EngineTest, ATransportStreamFileKnowsItsSizeAndSoundHasNone) {
    // A TS file learns its size from its own bitstream: libvlc tells it only once playing.
    ASSERT_NE(Open("hls/index1.ts"), nullptr);
    EXPECT_EQ(Width(m_player), 320);
    ASSERT_NE(Open("tone.mp3"), nullptr);
    EXPECT_EQ(Width(m_player), 0);
}

TEST_F(EngineTest, MissingSourcesGiveTheZeroHandle) {
    std::vector<QelTSItem> none;
    for (const std::string& strPath : {SampleFileA("no-such-file.mp4"), std::string()})
        EXPECT_EQ(QelVideoPlayerOpen(strPath.c_str(), &none, m_window.Handle()), nullptr) << strPath;
    EXPECT_EQ(QelVideoPlayerOpen(nullptr, &none, m_window.Handle()), nullptr);
    EXPECT_FALSE(m_window.Receive(100ms));
}

TEST(QelMediaEngineZeroHandle, EveryCallDoesNothingAndLeavesOutputsAlone) {
    QelVideoPlayerPlay(nullptr);
    QelVideoPlayerPause(nullptr);
    QelVideoPlayerSeek(nullptr, 1000);
    QelVideoPlayerSetRect(nullptr, 0, 1, 2, 3, 4);
    std::int32_t nVolume = -5;
    QelVideoPlayerSetParam(nullptr, QEL_PARAM_VOLUME, &nVolume);
    std::int64_t llValue = 77;
    QelVideoPlayerGetParam(nullptr, QEL_PARAM_POSITION, &llValue);
    std::int32_t nValue = 77;
    QelVideoPlayerGetParam(nullptr, QEL_PARAM_STATE, &nValue);
    EXPECT_EQ(llValue, 77);
    EXPECT_EQ(nValue, 77);
    QelVideoPlayerClose(nullptr);
}

TEST(QelMediaEngineWithoutLibvlc, OpenFailsSoftly) {
    if (QelVlc::Api())
        GTEST_SKIP() << "libvlc is available here";
    std::vector<QelTSItem> none;
    EXPECT_EQ(QelVideoPlayerOpen(SampleFileA("plain.mp4").c_str(), &none, nullptr), nullptr);
    // An HLS video from the cache the same, and no seek message without a player.
    SegmentCache cache;
    std::vector<QelTSItem> vecSegments = cache.Items();
    TestNotifyWindow window;
    EXPECT_EQ(QelVideoPlayerOpen("index.m3u8", &vecSegments, window.Handle()), nullptr);
    EXPECT_FALSE(window.Receive(100ms));
}

}  // namespace
