// The audio player without any media: the libvlc player's answers with nothing open, the
// event dispatch and the hooks that post to a window. Runs on both builds; under Wine also
// the case of a machine without libvlc.dll.
#include "audio/QelAudioPlayerManagerVlc.h"

#include <gtest/gtest.h>

#include <string>

#include "audio/QelAudioNotify.h"
#include "support/TestNotifyWindow.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;

namespace {

// Every command is harmless and every query empty when nothing is open.
void ExpectEmptyPlayer(QelAudioPlayerManagerVlc& player) {
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
}

TEST(QelAudioPlayerManagerTest, VlcPlayerWithoutMediaIsASilentNoOp) {
    QelAudioPlayerManagerVlc player(nullptr);
    ExpectEmptyPlayer(player);
    player.SetOption(9);
    EXPECT_EQ(player.GetOption(), 1);
}

std::string g_strHooks;  // which hook ran, and whether with the player fed
QelAudioPlayerManager* g_pFed = nullptr;
void Record(char chHook, QelAudioPlayerManager* p) { g_strHooks += p == g_pFed ? chHook : '?'; }
void RecordPlaying(QelAudioPlayerManager* p) { Record('P', p); }
void RecordPosChanged(QelAudioPlayerManager* p) { Record('C', p); }
void RecordEndReached(QelAudioPlayerManager* p) { Record('E', p); }

void Feed(QelAudioPlayerManagerVlc* pPlayer, int nType) {
    libvlc_event_t event{};
    event.type = nType;
    QelAudioPlayerManagerVlc::OnVlcEvent(&event, pPlayer);
}

TEST(QelAudioPlayerManagerTest, EachEventReachesItsOwnHookAndOthersAreDropped) {
    QelAudioPlayerManagerVlc player(nullptr);
    g_strHooks.clear();
    g_pFed = &player;
    player.SetPosChangedCallback(&RecordPosChanged);
    Feed(&player, libvlc_MediaPlayerPlaying);  // no hook installed for it yet
    player.SetPlayingCallback(&RecordPlaying);
    player.SetEndReachedCallback(&RecordEndReached);
    for (int nType : {libvlc_MediaPlayerOpening, libvlc_MediaPlayerPaused, libvlc_MediaPlayerStopped,
                      libvlc_MediaPlayerEncounteredError, libvlc_MediaPlayerTimeChanged,
                      libvlc_MediaPlayerLengthChanged, libvlc_MediaPlayerEndReached, libvlc_MediaPlayerPlaying,
                      libvlc_MediaPlayerPositionChanged})
        Feed(&player, nType);
    Feed(nullptr, libvlc_MediaPlayerPlaying);
    player.SetPosChangedCallback(nullptr);
    Feed(&player, libvlc_MediaPlayerPositionChanged);
    EXPECT_EQ(g_strHooks, "EPC");
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
    player.SetPlayingCallback(&QelAudioNotifyPlaying);
    player.SetPosChangedCallback(&QelAudioNotifyPosChanged);
    player.SetEndReachedCallback(&QelAudioNotifyEndReached);

    Feed(&player, GetParam().nEvent);

    const auto message = window.Receive(5s);
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

// Without a live window the hooks post nothing: on Windows a null handle would otherwise
// become a thread message; a dead one must not reach anything (ASan watches the Linux queue).
TEST(QelAudioNotifyHooksTest, NothingIsPostedWithoutAPlayerOrALiveWindow) {
    QelAudioNotifyPlaying(nullptr);
    QelAudioPlayerManagerVlc player(nullptr);
    QelAudioNotifyPlaying(&player);
    {
        qel::test::TestNotifyWindow window;
        player.SetHWnd(window.Handle());
    }
    QelAudioNotifyPosChanged(&player);
    QelAudioNotifyEndReached(&player);
    qel::test::TestNotifyWindow later;
    EXPECT_FALSE(later.Receive(100ms).has_value());
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
    ExpectEmptyPlayer(player);
    EXPECT_FALSE(window.Receive(100ms).has_value());
}
#endif

}  // namespace
