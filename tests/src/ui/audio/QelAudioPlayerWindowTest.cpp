#include "ui/audio/QelAudioPlayerWindow.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "QelAudioWindowTestSupport.h"
#include "audio/QelAudioNotify.h"

using namespace qel::audiotest;

namespace {

// A control that keeps every key the toolkit hands it.
class KeyProbeUI : public UiLib::CControlUI {
public:
    void DoEvent(UiLib::TEventUI& event) override {
        if (event.Type == UiLib::UIEVENT_KEYDOWN) vecKeys.push_back(event.chKey);
        UiLib::CControlUI::DoEvent(event);
    }
    std::vector<wchar_t> vecKeys;
};

class ProbeAudioWindow : public Recording<QelAudioPlayerWindow> {
public:
    explicit ProbeAudioWindow(const wchar_t* szSkin) : Recording<QelAudioPlayerWindow>(szSkin) {}
    UiLib::CControlUI* CreateControl(const wchar_t* pstrClass) override {
        if (std::wstring(pstrClass) == L"KeyProbe") return new KeyProbeUI();
        return Recording<QelAudioPlayerWindow>::CreateControl(pstrClass);
    }
};

const wchar_t* const kSkin =
    L"<?xml version=\"1.0\" encoding=\"utf-8\"?>"
    L"<Window size=\"440,224\"><VerticalLayout>"
    L"<KeyProbe name=\"probe\" height=\"40\" />"
    L"</VerticalLayout></Window>";

class AudioWindowTest : public AudioWindowFixture<ProbeAudioWindow> {
protected:
    void SetUp() override {
        m_skin.WriteText(L"plain/audio.xml", std::wstring(kSkin));
        Open(L"plain/audio.xml", m_skin.Path());
    }
    KeyProbeUI* Probe() { return static_cast<KeyProbeUI*>(m_window->Find(L"probe")); }

    TempSkinFolder m_skin;
};

// The text a position message produces, at a time and length in milliseconds.
struct TimeCase {
    long long llTime;
    long long llLength;
    const wchar_t* szText;
};

class AudioTimeTextTest : public ::testing::TestWithParam<TimeCase> {};

TEST_P(AudioTimeTextTest, ElapsedFirstInWholeSecondsOfADay) {
    EXPECT_EQ(QelAudioPlayerWindow::FormatTimeText(GetParam().llTime, GetParam().llLength), GetParam().szText);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, AudioTimeTextTest,
    ::testing::Values(TimeCase{0, 0, L"00:00:00 / 00:00:00"}, TimeCase{65000, 200000, L"00:01:05 / 00:03:20"},
                      // Milliseconds are cut, not rounded.
                      TimeCase{999, 1999, L"00:00:00 / 00:00:01"},
                      // libvlc's "not known yet" is -1 ms: still zero seconds.
                      TimeCase{-1, -1, L"00:00:00 / 00:00:00"},
                      // The hour wraps with the day.
                      TimeCase{3599000, 25LL * 3600 * 1000, L"00:59:59 / 01:00:00"},
                      TimeCase{23LL * 3600 * 1000 + 59 * 60 * 1000 + 59 * 1000, 24LL * 3600 * 1000,
                               L"23:59:59 / 00:00:00"},
                      // Before 1970 there is nothing to show but zero.
                      TimeCase{-5000, 0, L"00:00:00 / 00:00:00"}));

struct SizeCase {
    unsigned int nBytes;
    const wchar_t* szText;
};

class AudioFileSizeTextTest : public AudioWindowFixture<ProbeAudioWindow>, public ::testing::WithParamInterface<SizeCase> {
protected:
    void SetUp() override {
        m_skin.WriteText(L"plain/audio.xml", std::wstring(kSkin));
        Open(L"plain/audio.xml", m_skin.Path());
    }
    TempSkinFolder m_skin;
};

TEST_P(AudioFileSizeTextTest, MegabytesWithTwoDecimals) {
    EXPECT_EQ(m_window->SizeText(GetParam().nBytes), GetParam().szText);
}

INSTANTIATE_TEST_SUITE_P(Cases, AudioFileSizeTextTest,
                         ::testing::Values(SizeCase{0, L"0.00 M"}, SizeCase{1572864, L"1.50 M"},
                                           SizeCase{1048575, L"1.00 M"}, SizeCase{5243, L"0.01 M"},
                                           // Single precision rounds the top count up to 2^32.
                                           SizeCase{4294967295u, L"4096.00 M"}));

TEST_F(AudioWindowTest, FileSizeOfAFileAndOfNothing) {
    const std::wstring strFile = m_skin.Path() + L"\\bytes.bin";
    {
        std::ofstream out(strFile.c_str(), std::ios::binary);
        out << std::string(3000, 'x');
    }
    EXPECT_EQ(m_window->SizeOf(strFile), 3000);
    ::DeleteFileW(strFile.c_str());
    EXPECT_EQ(m_window->SizeOf(strFile), 0);
    EXPECT_EQ(m_window->SizeOf(L""), 0);
}

TEST_F(AudioWindowTest, StartsIdleAndConnectsThePlayerToItsWindow) {
    wchar_t szClass[64] = {};
    ::GetClassNameW(Hwnd(), szClass, 64);
    EXPECT_STREQ(szClass, L"QelAudioPlayerWindow");
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_FALSE(m_window->Ended());
    EXPECT_EQ(m_window->VolumeBeforeMute(), 182);
    EXPECT_NE(m_window->GetMainWndPaintManager(), nullptr);
    EXPECT_EQ(m_window->GetMainWndPaintManager()->GetPaintWindow(), Hwnd());
    EXPECT_EQ(m_window->CreateControl(L"Button"), nullptr);
    EXPECT_EQ(m_window->Player().GetHWnd(), Hwnd());

    // The hooks the window installed post to it; each message becomes its hook here.
    QelAudioNotifyPlaying(&m_window->Player());
    QelAudioNotifyPosChanged(&m_window->Player());
    QelAudioNotifyEndReached(&m_window->Player());
    ASSERT_TRUE(PumpUntil([this] { return m_window->Ended(); }));
    EXPECT_EQ(m_window->TakeLog(),
              (Log{L"Playing", L"UpdateUI", L"PosChanged 00:00:00 / 00:00:00 0", L"Stop", L"EndReached"}));
}

TEST_F(AudioWindowTest, PlayCountsAsPlayingEvenWhenNothingCanBeOpened) {
    m_window->Play(L"C:\\no such folder\\missing.mp3");
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_FALSE(m_window->Ended());
    EXPECT_EQ(m_window->MediaPath(), L"C:\\no such folder\\missing.mp3");
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Play C:\\no such folder\\missing.mp3", L"UpdateUI"}));
    // Playing the stored path itself keeps it.
    m_window->Play(m_window->MediaPath());
    EXPECT_EQ(m_window->MediaPath(), L"C:\\no such folder\\missing.mp3");
}

TEST_F(AudioWindowTest, PauseResumeStopAndResumeAfterStopOpensAgain) {
    m_window->Play(L"song.mp3");
    m_window->TakeLog();

    m_window->Pause();
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_EQ(m_window->TakeLog(), (Log{L"UpdateUI"}));

    m_window->Resume();  // Paused: resumes in place.
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_EQ(m_window->TakeLog(), (Log{L"UpdateUI"}));

    m_window->Stop();  // No refresh.
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_TRUE(m_window->Ended());
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Stop"}));

    m_window->Resume();  // Ended: opens the path again from its start.
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_FALSE(m_window->Ended());
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Play song.mp3", L"UpdateUI", L"UpdateUI"}));
}

TEST_F(AudioWindowTest, PlayerMessagesAnswerOneAndDriveTheHooks) {
    m_window->Play(L"song.mp3");
    m_window->TakeLog();

    // The end stops, reports and leaves the window ended.
    EXPECT_EQ(::SendMessageW(Hwnd(), QEL_AUDIO_END_REACHED, 0, 0), 1);
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Stop", L"EndReached"}));
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_TRUE(m_window->Ended());

    // Playing clears the ended state (but not the playing belief's absence).
    EXPECT_EQ(::SendMessageW(Hwnd(), QEL_AUDIO_PLAYING, 0, 0), 1);
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Playing", L"UpdateUI"}));
    EXPECT_FALSE(m_window->Ended());
    EXPECT_FALSE(m_window->IsPlaying());

    // A stopped player reads zero everywhere.
    EXPECT_EQ(::SendMessageW(Hwnd(), QEL_AUDIO_POS_CHANGED, 0, 0), 1);
    EXPECT_EQ(m_window->TakeLog(), (Log{L"PosChanged 00:00:00 / 00:00:00 0"}));
}

// The space key from each state: what it leaves and what it calls.
struct SpaceCase {
    const char* szFrom;
    bool bPlaying;
    bool bEnded;
    bool bPlayingAfter;
    Log log;
};

TEST_F(AudioWindowTest, SpaceTogglesFromEveryState) {
    const std::vector<SpaceCase> cases = {
        {"playing", true, false, false, {L"UpdateUI"}},
        {"paused", false, false, true, {L"UpdateUI"}},
        {"ended", false, true, true, {L"Play song.mp3", L"UpdateUI", L"UpdateUI"}},
    };
    for (const SpaceCase& c : cases) {
        m_window->Play(L"song.mp3");
        if (!c.bPlaying) m_window->Pause();
        m_window->SetEnded(c.bEnded);
        m_window->TakeLog();
        EXPECT_EQ(Key(VK_SPACE), 0) << c.szFrom;
        EXPECT_EQ(m_window->IsPlaying(), c.bPlayingAfter) << c.szFrom;
        EXPECT_FALSE(m_window->Ended()) << c.szFrom;
        EXPECT_EQ(m_window->TakeLog(), c.log) << c.szFrom;
    }
    EXPECT_TRUE(Probe()->vecKeys.empty());
}

TEST_F(AudioWindowTest, EnterEscapeAndOtherKeysReachTheFocusedControl) {
    m_window->GetMainWndPaintManager()->SetFocus(Probe());
    m_window->Play(L"song.mp3");
    m_window->TakeLog();
    for (WPARAM vk : {WPARAM(VK_RETURN), WPARAM(VK_ESCAPE), WPARAM('A')}) Key(vk);
    EXPECT_EQ(Probe()->vecKeys, (std::vector<wchar_t>{VK_RETURN, VK_ESCAPE, L'A'}));
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_TRUE(m_window->TakeLog().empty());
}

TEST_F(AudioWindowTest, WithoutLibvlcCommandsChangeNothingAndNegativeVolumeIsIgnored) {
    m_window->Play(L"song.mp3");
    for (int nPos : {-2, -1, 0, 998, 999, 1000, 0x7fffffff}) m_window->Seek(nPos);
    m_window->SetVolume(-1);
    m_window->SetVolume(250);
    EXPECT_EQ(m_window->GetVolume(), 0);
    EXPECT_TRUE(m_window->IsPlaying());
}

}  // namespace
