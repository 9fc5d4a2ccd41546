// The real engine on real libvlc, driven through its eight functions. Where libvlc is not
// available (Windows without libvlc.dll) the same calls must fail softly.
#include "video/QelVideoEngine.h"

#include <gtest/gtest.h>

#include <thread>

#include "EngineTestSupport.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSampleContent.h"
#include "support/TestSilentAudio.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;

namespace {

class SilentAudio : public ::testing::Environment {
    void SetUp() override { qel::test::MakeAudioSilent(); }
};
const auto* const g_pSilentAudio = ::testing::AddGlobalTestEnvironment(new SilentAudio);

using qel::test::Eventually;
using qel::test::Position;
using qel::test::State;

class EngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QelVlc::Api())
            GTEST_SKIP() << "libvlc is not available here";
    }

    QelVideoPlayerHandle OpenSample(const char* szName) {
        std::vector<QelTSItem> none;
        return QelVideoPlayerOpen(qel::test::SampleFileA(szName).c_str(), &none, m_window.Handle());
    }

    qel::test::TestNotifyWindow m_window;
};

TEST_F(EngineTest, KnowsSizeAndDurationRightAfterOpenAndPostsTheEndOnce) {
    QelVideoPlayerHandle player = OpenSample("plain.mp4");
    ASSERT_NE(player, nullptr);
    std::int32_t width = 0, height = 0;
    std::int64_t duration = 0;
    QelVideoPlayerGetParam(player, QEL_PARAM_WIDTH, &width);
    QelVideoPlayerGetParam(player, QEL_PARAM_HEIGHT, &height);
    QelVideoPlayerGetParam(player, QEL_PARAM_DURATION, &duration);
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 240);
    EXPECT_NEAR(static_cast<double>(duration), 2000.0, 100.0);
    EXPECT_EQ(Position(player), 0);

    QelVideoPlayerPlay(player);
    auto end = m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 20s);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->wParam, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
    EXPECT_FALSE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 300ms));
    EXPECT_EQ(State(player), QEL_STATE_ENDED);

    // Play after the end starts over and ends again.
    QelVideoPlayerPlay(player);
    EXPECT_TRUE(Eventually([&] { return State(player) == QEL_STATE_PLAYING; }));
    EXPECT_TRUE(m_window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 20s));
    QelVideoPlayerClose(player);
}

TEST_F(EngineTest, PauseHoldsThePositionAndSeekMovesIt) {
    QelVideoPlayerHandle player = OpenSample("plain.mp4");
    ASSERT_NE(player, nullptr);
    QelVideoPlayerPlay(player);
    ASSERT_TRUE(Eventually([&] { return Position(player) > 200; }));
    QelVideoPlayerPause(player);
    ASSERT_TRUE(Eventually([&] { return State(player) == QEL_STATE_PAUSED; }));
    const std::int64_t held = Position(player);
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(Position(player), held);

    QelVideoPlayerSeek(player, 1500);
    EXPECT_TRUE(Eventually([&] { return Position(player) >= 1400; })) << Position(player);
    QelVideoPlayerPlay(player);
    EXPECT_TRUE(Eventually([&] { return State(player) == QEL_STATE_PLAYING || State(player) == QEL_STATE_ENDED; }));
    QelVideoPlayerClose(player);
}

TEST_F(EngineTest, SettersAcceptTheirWholeRange) {
    QelVideoPlayerHandle player = OpenSample("plain.mp4");
    ASSERT_NE(player, nullptr);
    for (std::int32_t value : {-182, -1000, 0, 182, 5000}) {
        QelVideoPlayerSetParam(player, QEL_PARAM_VOLUME, &value);
        QelVideoPlayerSetParam(player, QEL_PARAM_RENDER_TYPE, &value);
    }
    for (std::int32_t speed : {25, 100, 200})
        QelVideoPlayerSetParam(player, QEL_PARAM_SPEED, &speed);
    QelVideoPlayerSetRect(player, 0, 10, 20, 320, 240);
    QelVideoPlayerSetRect(player, 1, 10, 20, 320, 240);
    std::int32_t stretch = 1;
    QelVideoPlayerSetParam(player, QEL_PARAM_RENDER_TYPE, &stretch);
    QelVideoPlayerPlay(player);
    EXPECT_TRUE(Eventually([&] { return Position(player) > 0; }));
    QelVideoPlayerClose(player);
}

TEST_F(EngineTest, KnowsTheSizeOfATransportStreamFileAndNoneOfSound) {
    // A TS file learns its size from its own bitstream: libvlc tells it only once playing.
    QelVideoPlayerHandle player = OpenSample("hls/index1.ts");
    ASSERT_NE(player, nullptr);
    std::int32_t width = 0, height = 0;
    QelVideoPlayerGetParam(player, QEL_PARAM_WIDTH, &width);
    QelVideoPlayerGetParam(player, QEL_PARAM_HEIGHT, &height);
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 240);
    QelVideoPlayerClose(player);

    player = OpenSample("tone.mp3");
    ASSERT_NE(player, nullptr);
    width = -1;
    QelVideoPlayerGetParam(player, QEL_PARAM_WIDTH, &width);
    EXPECT_EQ(width, 0);
    QelVideoPlayerPlay(player);
    EXPECT_TRUE(Eventually([&] { return Position(player) > 0; }));
    QelVideoPlayerClose(player);
}

TEST_F(EngineTest, MissingSourcesGiveTheZeroHandle) {
    std::vector<QelTSItem> none;
    EXPECT_EQ(QelVideoPlayerOpen(qel::test::SampleFileA("no-such-file.mp4").c_str(), &none, m_window.Handle()),
              nullptr);
    EXPECT_EQ(QelVideoPlayerOpen("", &none, m_window.Handle()), nullptr);
    EXPECT_EQ(QelVideoPlayerOpen(nullptr, &none, m_window.Handle()), nullptr);
    EXPECT_FALSE(m_window.Receive(100ms));
}

TEST(QelMediaEngineZeroHandle, EveryCallDoesNothingAndLeavesOutputsAlone) {
    QelVideoPlayerClose(nullptr);
    QelVideoPlayerPlay(nullptr);
    QelVideoPlayerPause(nullptr);
    QelVideoPlayerSeek(nullptr, 1000);
    QelVideoPlayerSetRect(nullptr, 0, 1, 2, 3, 4);
    std::int32_t volume = -5;
    QelVideoPlayerSetParam(nullptr, QEL_PARAM_VOLUME, &volume);
    for (std::int32_t id : {QEL_PARAM_DURATION, QEL_PARAM_POSITION}) {
        std::int64_t value = 77;
        QelVideoPlayerGetParam(nullptr, id, &value);
        EXPECT_EQ(value, 77);
    }
    for (std::int32_t id : {QEL_PARAM_STATE, QEL_PARAM_WIDTH, QEL_PARAM_HEIGHT}) {
        std::int32_t value = 77;
        QelVideoPlayerGetParam(nullptr, id, &value);
        EXPECT_EQ(value, 77);
    }
}

TEST(QelMediaEngineWithoutLibvlc, OpenFailsSoftly) {
    if (QelVlc::Api())
        GTEST_SKIP() << "libvlc is available here";
    std::vector<QelTSItem> none;
    EXPECT_EQ(QelVideoPlayerOpen(qel::test::SampleFileA("plain.mp4").c_str(), &none, nullptr), nullptr);

    // An HLS video from the cache the same: the zero handle, on which every call is safe.
    qel::test::SegmentCache cache;
    std::vector<QelTSItem> vecSegments = cache.Items();
    qel::test::TestNotifyWindow window;
    QelVideoPlayerHandle player = QelVideoPlayerOpen("index.m3u8", &vecSegments, window.Handle());
    EXPECT_EQ(player, nullptr);
    QelVideoPlayerPlay(player);
    QelVideoPlayerSeek(player, 2500);
    std::int64_t llPosition = 0;
    QelVideoPlayerGetParam(player, QEL_PARAM_POSITION, &llPosition);
    EXPECT_EQ(llPosition, 0);
    QelVideoPlayerClose(player);
    EXPECT_FALSE(window.Receive(std::chrono::milliseconds(100))) << "no seek message without a player";
}

}  // namespace
