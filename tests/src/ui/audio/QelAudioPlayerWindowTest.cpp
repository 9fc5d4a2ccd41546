// The audio player window through its two embedded subclasses under Wine, where libvlc is
// absent: the player opens nothing and its volume reads 0. The document's player
// (QelAudioPlayerPPTWindow) and the audio control's window (QelAudioUIWindow) are driven
// by clicks on the sample skin "audio/audio.xml", keys and the player's three messages.
#include "ui/audio/QelAudioPlayerPPTWindow.h"

#include <type_traits>

#include "../QelUiTestSupport.h"
#include "audio/QelAudioNotify.h"
#include "ui/audio/QelAudioUIWindow.h"
#include "video/QelMessages.h"

using namespace qel::test;

namespace {

// An audio window with its player and its size text open to the tests.
template <class Base>
class AudioProbe : public Exposed<Base> {
public:
    using Exposed<Base>::Exposed;
    using Base::FileSizeToString;
    QelAudioPlayerManagerVlc& Player() { return this->m_player; }
};

template <class Window>
class AudioBarTest : public SkinnedWindowFixture<AudioProbe<Window>> {
protected:
    // Playing "song.mp3" at 1:05 of 3:20, as the player's messages would have shown it.
    void OpenPlaying(const wchar_t* szSkin = L"audio/audio.xml", const std::wstring& strFolder = BuiltSkinFolder()) {
        this->Open(szSkin, strFolder, {440, 224});
        this->m_window->Play(L"song.mp3");
        if (auto* pTime = this->Find(L"audio_time")) pTime->SetText(L"00:01:05 / 00:03:20");
        if (auto* pSlider = static_cast<UiLib::CSliderUI*>(this->Find(L"audio_play_slider"))) pSlider->SetValue(325);
        this->m_window->m_nPlays = 0;
    }
    // Each action is a button ("pause"), a message ("@end", "@playing", "@position"), all
    // three as the player's event thread posts them ("@posted"), "@space", or a click at
    // an end of the volume slider ("@volume0", "@volume1").
    void Act(const std::wstring& strActions) {
        std::wistringstream actions(strActions);
        for (std::wstring strAction; actions >> strAction;) {
            if (strAction == L"@end") this->Send(QEL_AUDIO_END_REACHED);
            if (strAction == L"@playing") this->Send(QEL_AUDIO_PLAYING);
            if (strAction == L"@position") this->Send(QEL_AUDIO_POS_CHANGED);
            if (strAction == L"@posted") {
                const std::wstring strBefore = Bar();
                QelAudioNotifyPlaying(&this->m_window->Player());
                QelAudioNotifyPosChanged(&this->m_window->Player());
                QelAudioNotifyEndReached(&this->m_window->Player());
                EXPECT_EQ(Bar(), strBefore) << "posted, never sent";
                PumpPending();
            }
            if (strAction == L"@space") this->Send(WM_KEYDOWN, VK_SPACE);
            if (strAction.rfind(L"@volume", 0) == 0) this->ClickSlider(L"audio_volume_slider", strAction.back() - L'0');
            if (strAction[0] != L'@') this->Click(L"btn_audio_" + strAction);
        }
    }
    // "pause mute | 00:01:05 / 00:03:20 | 325 | 100 | playing, opened 0": buttons shown,
    // time text, position and volume sliders, the window's state and how often Play ran.
    std::wstring Bar() {
        return this->Shown(L"btn_audio_", L"play pause mute muted") + L" | " + this->Text(L"audio_time") + L" | " +
               std::to_wstring(this->Value(L"audio_play_slider")) + L" | " +
               std::to_wstring(this->Value(L"audio_volume_slider")) + L" | " +
               (this->m_window->IsPlaying() ? L"playing" : L"stopped") + L", opened " +
               std::to_wstring(this->m_window->m_nPlays);
    }
};

constexpr unsigned kPPT = 1, kControl = 2, kBoth = kPPT | kControl;

const struct { unsigned uWindows; const wchar_t *pszActions, *pszBar; } kRows[] = {
    {kBoth, L"", L"pause mute | 00:01:05 / 00:03:20 | 325 | 100 | playing, opened 0"},
    {kBoth, L"pause", L"play mute | 00:01:05 / 00:03:20 | 325 | 100 | stopped, opened 0"},
    {kBoth, L"pause play", L"pause mute | 00:01:05 / 00:03:20 | 325 | 100 | playing, opened 0"},
    {kBoth, L"@position", L"pause mute | 00:00:00 / 00:00:00 | 0 | 100 | playing, opened 0"},
    {kBoth, L"@posted", L"play mute | 00:00:00 / 00:00:00 | 0 | 100 | stopped, opened 0"},
    {kBoth, L"@end @playing play", L"pause mute | 00:00:00 / 00:00:00 | 0 | 100 | playing, opened 1"},
    {kBoth, L"mute", L"pause muted | 00:01:05 / 00:03:20 | 325 | 0 | playing, opened 0"},
    {kBoth, L"mute muted", L"pause mute | 00:01:05 / 00:03:20 | 325 | 0 | playing, opened 0"},  // libvlc's 0 was saved
    {kBoth, L"@volume0", L"pause muted | 00:01:05 / 00:03:20 | 325 | 0 | playing, opened 0"},
    {kBoth, L"@volume0 @volume1", L"pause mute | 00:01:05 / 00:03:20 | 325 | 200 | playing, opened 0"},
    {kPPT, L"@space", L"pause mute | 00:01:05 / 00:03:20 | 325 | 100 | stopped, opened 0"},  // the buttons lag
    {kPPT, L"@end @space", L"play mute | 00:00:00 / 00:00:00 | 0 | 100 | playing, opened 1"},
    {kControl, L"@space", L"play mute | 00:01:05 / 00:03:20 | 325 | 100 | stopped, opened 0"},
    {kControl, L"@end @space", L"pause mute | 00:00:00 / 00:00:00 | 0 | 100 | playing, opened 1"},
    {kControl, L"stop", L"play mute | 00:01:05 / 00:03:20 | 325 | 100 | stopped, opened 0"},  // text and slider stay
    {kControl, L"stop play", L"pause mute | 00:01:05 / 00:03:20 | 325 | 100 | playing, opened 1"},
};

using Windows = ::testing::Types<QelAudioPlayerPPTWindow, UiLib::QelAudioUIWindow>;
TYPED_TEST_SUITE(AudioBarTest, Windows);

TYPED_TEST(AudioBarTest, ClicksMessagesAndKeys) {
    const unsigned uThis = std::is_same_v<TypeParam, QelAudioPlayerPPTWindow> ? kPPT : kControl;
    for (const auto& row : kRows) {
        if ((row.uWindows & uThis) == 0) continue;
        this->OpenPlaying();
        this->Act(row.pszActions);
        EXPECT_EQ(this->Bar(), row.pszBar) << testing::PrintToString(std::wstring(row.pszActions));
        this->Close();
    }
}

using EmbeddedAudioTest = AudioBarTest<QelAudioPlayerPPTWindow>;

TEST_F(EmbeddedAudioTest, OtherKeysReachTheFocusedControlNamesMatchAsTheyAlwaysDidAndTextsKeepTheirUnits) {
    m_skins.WriteText(L"bar.xml", L"<Window size=\"440,224\"><VerticalLayout><HorizontalLayout height=\"40\">"
                                  L"<Button name=\"btn_audio_play\"/><Button name=\"BTN_AUDIO_PLAY\"/>"
                                  L"<Button name=\"Btn_Audio_Pause\"/><Button name=\"BTN_AUDIO_MUTE\"/>"
                                  L"<Button name=\"btn_audio_muted\"/></HorizontalLayout><RecordingLayout name=\"k\"/>"
                                  L"<Slider name=\"audio_volume_slider\" max=\"150\"/></VerticalLayout></Window>");
    OpenPlaying(L"bar.xml", m_skins.Path());
    Manager().SetFocus(Find(L"k"));
    for (WPARAM vk : {WPARAM{VK_RETURN}, WPARAM{VK_ESCAPE}, WPARAM{'A'}}) Send(WM_KEYDOWN, vk);
    EXPECT_EQ(static_cast<RecordingLayout*>(Find(L"k"))->m_strKeys, L"\r\x1b" L"A") << "unlike the base window's";
    Click(L"Btn_Audio_Pause");
    EXPECT_TRUE(m_window->IsPlaying()) << "play and pause are matched exactly";
    m_window->Pause();
    Click(L"BTN_AUDIO_PLAY");
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_EQ(Shown(L"", L"btn_audio_play"), L"btn_audio_play") << "no pause button to swap with";
    Click(L"btn_audio_muted");
    EXPECT_EQ(Value(L"audio_volume_slider"), 150) << "182 before any mute, as far as the slider reaches";
    Click(L"BTN_AUDIO_MUTE");
    EXPECT_EQ(Value(L"audio_volume_slider"), 0) << "the mute pair in any case";
    // Seconds are cut, not rounded; libvlc's "not known yet" (-1) and times before 1970
    // read zero; 25 hours read 01:00:00. Sizes are single-precision megabytes.
    EXPECT_EQ(QelAudioPlayerWindow::FormatTimeText(65999, 200000), L"00:01:05 / 00:03:20");
    EXPECT_EQ(QelAudioPlayerWindow::FormatTimeText(-1, -5000), L"00:00:00 / 00:00:00");
    EXPECT_EQ(QelAudioPlayerWindow::FormatTimeText(3599000, 25LL * 3600 * 1000), L"00:59:59 / 01:00:00");
    EXPECT_EQ(m_window->FileSizeToString(1572864), L"1.50 M");
    EXPECT_EQ(m_window->FileSizeToString(4294967295u), L"4096.00 M");
}

TEST_F(EmbeddedAudioTest, AClickAnywhereTakesTheKeysButNotActivation) {
    OpenPlaying();
    ::SetForegroundWindow(m_hParent);
    ::SetFocus(m_hParent);
    Click(L"bk");
    EXPECT_EQ(::GetFocus(), Hwnd());
    EXPECT_EQ(::GetForegroundWindow(), m_hParent);
}

}  // namespace
