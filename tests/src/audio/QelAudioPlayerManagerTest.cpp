// The audio player without any media: the base's defaults, the libvlc player's answers
// with nothing open, the event dispatch and the hooks that post to a window. Runs on both
// builds; under Wine also the case of a machine without libvlc.dll.
#include "audio/QelAudioPlayerManagerVlc.h"

#include <gtest/gtest.h>

#include <vector>

#include "audio/QelAudioNotify.h"
#include "support/TestNotifyWindow.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;

namespace {

class BasePlayer : public QelAudioPlayerManager {
public:
    BasePlayer() : QelAudioPlayerManager(nullptr) {}
};

TEST(QelAudioPlayerManagerTest, BaseAnswersAsAPlayerWithNothingOpen) {
    BasePlayer player;
    EXPECT_EQ(player.ReservedGet0(), 0);
    EXPECT_FALSE(player.Play(L""));
    EXPECT_TRUE(player.Play(L"a.mp3"));
    player.Pause();
    player.Resume();
    player.SetPosition(500);
    player.Forward();
    player.Backward();
    player.SetVolume(80);
    player.ReservedSet1(9);
    player.ReservedSet2(9);
    player.Stop();
    EXPECT_EQ(player.GetVolume(), 0);
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_EQ(player.GetPosition(), 0);
    EXPECT_EQ(player.GetLength(), 0);
    EXPECT_EQ(player.GetTime(), 0);
    EXPECT_EQ(player.ReservedGet1(), 0);
    EXPECT_EQ(player.ReservedGet2(), 0);
    EXPECT_EQ(player.ReservedGet3(), 2);
}

TEST(QelAudioPlayerManagerTest, BaseKeepsTheOption) {
    BasePlayer player;
    EXPECT_EQ(player.GetOption(), 4);
    player.SetOption(-7);
    EXPECT_EQ(player.GetOption(), -7);
}

TEST(QelAudioPlayerManagerTest, VlcPlayerWithoutMediaIsSilentNoOp) {
    QelAudioPlayerManagerVlc player(nullptr);
    player.Pause();
    player.Resume();
    player.SetPosition(1000);
    player.Forward();
    player.Backward();
    player.SetVolume(250);
    player.Stop();
    EXPECT_EQ(player.GetVolume(), 0);
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_EQ(player.GetPosition(), 0);
    EXPECT_EQ(player.GetLength(), 0);
    EXPECT_EQ(player.GetTime(), 0);
    EXPECT_EQ(player.GetHWnd(), nullptr);
    player.SetOption(9);
    EXPECT_EQ(player.GetOption(), 1);
    EXPECT_EQ(player.ReservedGet0(), 0);
    EXPECT_EQ(player.ReservedGet3(), 2);
}

// Records which hook ran with which player.
struct HookCall {
    char chHook;
    QelAudioPlayerManager* pPlayer;
};
std::vector<HookCall> g_vecHookCalls;
void RecordPlaying(QelAudioPlayerManager* p) { g_vecHookCalls.push_back({'P', p}); }
void RecordPosChanged(QelAudioPlayerManager* p) { g_vecHookCalls.push_back({'C', p}); }
void RecordEndReached(QelAudioPlayerManager* p) { g_vecHookCalls.push_back({'E', p}); }

void Feed(QelAudioPlayerManagerVlc* pPlayer, int nType) {
    libvlc_event_t event{};
    event.type = nType;
    QelAudioPlayerManagerVlc::OnVlcEvent(&event, pPlayer);
}

TEST(QelAudioPlayerManagerTest, EachEventReachesItsOwnHookOnly) {
    g_vecHookCalls.clear();
    QelAudioPlayerManagerVlc player(nullptr);
    player.SetPlayingCallback(&RecordPlaying);
    player.SetPosChangedCallback(&RecordPosChanged);
    player.SetEndReachedCallback(&RecordEndReached);

    const int kIgnored[] = {libvlc_MediaPlayerOpening, libvlc_MediaPlayerPaused, libvlc_MediaPlayerStopped,
                            libvlc_MediaPlayerEncounteredError, libvlc_MediaPlayerTimeChanged,
                            libvlc_MediaPlayerLengthChanged};
    for (int nType : kIgnored)
        Feed(&player, nType);
    Feed(&player, libvlc_MediaPlayerEndReached);
    Feed(&player, libvlc_MediaPlayerPlaying);
    Feed(&player, libvlc_MediaPlayerPositionChanged);
    Feed(nullptr, libvlc_MediaPlayerPlaying);

    ASSERT_EQ(g_vecHookCalls.size(), 3u);
    EXPECT_EQ(g_vecHookCalls[0].chHook, 'E');
    EXPECT_EQ(g_vecHookCalls[1].chHook, 'P');
    EXPECT_EQ(g_vecHookCalls[2].chHook, 'C');
    for (const HookCall& call : g_vecHookCalls)
        EXPECT_EQ(call.pPlayer, static_cast<QelAudioPlayerManager*>(&player));
}

TEST(QelAudioPlayerManagerTest, EventWithoutHookIsDropped) {
    g_vecHookCalls.clear();
    QelAudioPlayerManagerVlc player(nullptr);
    player.SetPosChangedCallback(&RecordPosChanged);
    Feed(&player, libvlc_MediaPlayerPlaying);
    Feed(&player, libvlc_MediaPlayerEndReached);
    EXPECT_TRUE(g_vecHookCalls.empty());
    // Taking a hook away again works the same.
    player.SetPosChangedCallback(nullptr);
    Feed(&player, libvlc_MediaPlayerPositionChanged);
    EXPECT_TRUE(g_vecHookCalls.empty());
}

struct HookCase {
    int nEvent;
    UINT nMessage;
};

class QelAudioNotifyTest : public ::testing::TestWithParam<HookCase> {};

TEST_P(QelAudioNotifyTest, InstalledHookPostsTheMessageWithThePlayer) {
    qel::test::TestNotifyWindow window;
    QelAudioPlayerManagerVlc player(nullptr);
    player.SetHWnd(window.Handle());
    EXPECT_EQ(player.GetHWnd(), window.Handle());
    player.SetPlayingCallback(&QelAudioNotifyPlaying);
    player.SetPosChangedCallback(&QelAudioNotifyPosChanged);
    player.SetEndReachedCallback(&QelAudioNotifyEndReached);

    Feed(&player, GetParam().nEvent);

    const auto message = window.Receive(2s);
    ASSERT_TRUE(message.has_value());
    EXPECT_EQ(message->message, GetParam().nMessage);
    EXPECT_EQ(message->wParam, reinterpret_cast<WPARAM>(static_cast<QelAudioPlayerManager*>(&player)));
    EXPECT_EQ(message->lParam, 0);
    EXPECT_FALSE(window.Receive(50ms).has_value());
}

INSTANTIATE_TEST_SUITE_P(ThreeEvents, QelAudioNotifyTest,
                         ::testing::Values(HookCase{libvlc_MediaPlayerPlaying, QEL_AUDIO_PLAYING},
                                           HookCase{libvlc_MediaPlayerPositionChanged, QEL_AUDIO_POS_CHANGED},
                                           HookCase{libvlc_MediaPlayerEndReached, QEL_AUDIO_END_REACHED}));

TEST(QelAudioNotifyHooksTest, NullPlayerPostsNothing) {
    QelAudioNotifyPlaying(nullptr);
    QelAudioNotifyPosChanged(nullptr);
    QelAudioNotifyEndReached(nullptr);
}

TEST(QelAudioNotifyHooksTest, NothingIsPostedWithoutALiveWindow) {
    QelAudioPlayerManagerVlc player(nullptr);
    // No window at all: on Windows a null handle would otherwise become a thread message.
    QelAudioNotifyPlaying(&player);
    {
        qel::test::TestNotifyWindow window;
        player.SetHWnd(window.Handle());
    }
    // The window is gone; its handle stays with the player.
    QelAudioNotifyPosChanged(&player);
    QelAudioNotifyEndReached(&player);
#ifdef _WIN32
    MSG msg;
    EXPECT_FALSE(PeekMessageW(&msg, reinterpret_cast<HWND>(-1), 0, 0, PM_REMOVE));
    EXPECT_FALSE(PeekMessageW(&msg, nullptr, WM_USER, 0xBFFF, PM_REMOVE));
#endif
}

#ifdef _WIN32
// The Windows build must load and run where VLC is not installed.
TEST(QelAudioWithoutLibVlcTest, PlayFailsAndEverythingAnswersEmpty) {
    if (QelVlc::Api() != nullptr)
        GTEST_SKIP() << "libvlc.dll is present here";
    qel::test::TestNotifyWindow window;
    QelAudioPlayerManagerVlc player(nullptr);
    player.SetHWnd(window.Handle());
    player.SetPlayingCallback(&QelAudioNotifyPlaying);
    EXPECT_FALSE(player.Play(L""));
    EXPECT_FALSE(player.Play(L"C:\\music\\tone.wav"));
    EXPECT_FALSE(player.Play(L"http://127.0.0.1/tone.wav"));
    player.Pause();
    player.Resume();
    player.SetPosition(500);
    player.Forward();
    player.Backward();
    player.SetVolume(100);
    EXPECT_EQ(player.GetVolume(), 0);
    EXPECT_FALSE(player.IsPlaying());
    EXPECT_EQ(player.GetPosition(), 0);
    EXPECT_EQ(player.GetLength(), 0);
    EXPECT_EQ(player.GetTime(), 0);
    player.Stop();
    EXPECT_FALSE(window.Receive(100ms).has_value());
}
#endif

}  // namespace
