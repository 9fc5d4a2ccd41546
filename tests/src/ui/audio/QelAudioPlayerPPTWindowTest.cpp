#include "ui/audio/QelAudioPlayerPPTWindow.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QelAudioWindowTestSupport.h"

using namespace qel::audiotest;

namespace {

using ProbePPTWindow = Recording<QelAudioPlayerPPTWindow>;

constexpr const wchar_t* kZeroTime = L"00:00:00 / 00:00:00";

// The sample skin "audio/audio.xml" that the control uses.
class EmbeddedAudioTest : public AudioWindowFixture<ProbePPTWindow> {
protected:
    void SetUp() override {
        Open(L"audio/audio.xml");
        ASSERT_NE(m_window->Find(L"audio_play_slider"), nullptr) << "sample skin not found";
    }
};

// A small skin of the test's own: a control bar with the given buttons, a position slider
// and a volume slider reaching nVolumeMax.
std::wstring BarSkin(const std::vector<std::wstring>& vecButtons, int nVolumeMax) {
    std::wstring strSkin =
        L"<?xml version=\"1.0\" encoding=\"utf-8\"?><Window size=\"440,224\"><VerticalLayout>"
        L"<HorizontalLayout height=\"40\">";
    for (const std::wstring& strName : vecButtons)
        strSkin += L"<Button name=\"" + strName + L"\" width=\"40\" height=\"30\" />";
    strSkin += L"</HorizontalLayout>"
               L"<Slider name=\"audio_play_slider\" height=\"16\" min=\"0\" max=\"1000\" value=\"0\" />"
               L"<Text name=\"audio_time\" height=\"20\" text=\"\" />"
               L"<Slider name=\"audio_volume_slider\" height=\"16\" min=\"0\" max=\"" +
               std::to_wstring(nVolumeMax) + L"\" value=\"100\" />"
               L"</VerticalLayout></Window>";
    return strSkin;
}

class OwnSkinAudioTest : public AudioWindowFixture<ProbePPTWindow> {
protected:
    void OpenBar(const std::vector<std::wstring>& vecButtons, int nVolumeMax = 200) {
        m_skin.WriteText(L"bar/audio.xml", BarSkin(vecButtons, nVolumeMax));
        Open(L"bar/audio.xml", m_skin.Path());
    }
    TempSkinFolder m_skin;
};

TEST_F(EmbeddedAudioTest, StartsWithPauseShownAndTheSampleSkinsValues) {
    wchar_t szClass[64] = {};
    ::GetClassNameW(Hwnd(), szClass, 64);
    EXPECT_STREQ(szClass, L"QelAudioPlayerPPTWindow");
    EXPECT_FALSE(Visible(L"btn_audio_play"));
    EXPECT_TRUE(Visible(L"btn_audio_pause"));
    EXPECT_TRUE(Visible(L"btn_audio_mute"));
    EXPECT_FALSE(Visible(L"btn_audio_muted"));
    EXPECT_EQ(Text(L"audio_time"), kZeroTime);
    EXPECT_EQ(m_window->Player().GetHWnd(), Hwnd());
}

TEST_F(EmbeddedAudioTest, PauseAndPlayClicksSwapTheButtonsAndTheState) {
    m_window->Play(L"song.mp3");
    m_window->TakeLog();

    Click(L"btn_audio_pause");
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    EXPECT_FALSE(Visible(L"btn_audio_pause"));

    Click(L"btn_audio_play");  // Paused: resumes in place.
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_FALSE(Visible(L"btn_audio_play"));
    EXPECT_TRUE(Visible(L"btn_audio_pause"));
    // Pause and resume refresh through the (empty) UpdateUI; nothing is opened again.
    EXPECT_EQ(m_window->TakeLog(), (Log{L"UpdateUI", L"UpdateUI"}));
}

TEST_F(EmbeddedAudioTest, EndResetsTextSliderAndButtonsAndPlayStartsAgain) {
    m_window->Play(L"song.mp3");
    m_window->Find(L"audio_time")->SetText(L"00:01:05 / 00:03:20");
    Slider(L"audio_play_slider")->SetValue(325);
    m_window->TakeLog();

    EXPECT_EQ(::SendMessageW(Hwnd(), QEL_AUDIO_END_REACHED, 0, 0), 1);
    // The window stops, the hook stops once more.
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Stop", L"EndReached", L"Stop"}));
    EXPECT_EQ(Text(L"audio_time"), kZeroTime);
    EXPECT_EQ(Slider(L"audio_play_slider")->GetValue(), 0);
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    EXPECT_FALSE(Visible(L"btn_audio_pause"));
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_TRUE(m_window->Ended());

    // A late "playing" leaves the window ended, so play opens the media from its start.
    EXPECT_EQ(::SendMessageW(Hwnd(), QEL_AUDIO_PLAYING, 0, 0), 1);
    EXPECT_TRUE(m_window->Ended());
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Playing"}));
    Click(L"btn_audio_play");
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Play song.mp3", L"UpdateUI", L"UpdateUI"}));
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_FALSE(m_window->Ended());
    EXPECT_TRUE(Visible(L"btn_audio_pause"));
}

TEST_F(EmbeddedAudioTest, PositionMessageSetsTextAndSliderFromThePlayer) {
    m_window->Find(L"audio_time")->SetText(L"x");
    Slider(L"audio_play_slider")->SetValue(500);
    // Nothing is open: the player reads zero.
    EXPECT_EQ(::SendMessageW(Hwnd(), QEL_AUDIO_POS_CHANGED, 0, 0), 1);
    EXPECT_EQ(Text(L"audio_time"), kZeroTime);
    EXPECT_EQ(Slider(L"audio_play_slider")->GetValue(), 0);
}

TEST_F(EmbeddedAudioTest, SpaceTogglesPlaybackButLeavesTheButtons) {
    m_window->Play(L"song.mp3");
    EXPECT_EQ(Key(VK_SPACE), 0);
    EXPECT_FALSE(m_window->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_pause"));
    EXPECT_FALSE(Visible(L"btn_audio_play"));
}

TEST_F(EmbeddedAudioTest, MuteThenUnmuteGoesThroughTheVolumeSlider) {
    Click(L"btn_audio_mute");
    EXPECT_EQ(Slider(L"audio_volume_slider")->GetValue(), 0);
    EXPECT_FALSE(Visible(L"btn_audio_mute"));
    EXPECT_TRUE(Visible(L"btn_audio_muted"));
    // Without libvlc the player reports volume 0, which is what mute saved.
    EXPECT_EQ(m_window->VolumeBeforeMute(), 0);

    Click(L"btn_audio_muted");
    EXPECT_EQ(Slider(L"audio_volume_slider")->GetValue(), 0);
    EXPECT_TRUE(Visible(L"btn_audio_mute"));
    EXPECT_FALSE(Visible(L"btn_audio_muted"));
}

// The volume slider's own notifications keep the mute pair in step.
TEST_F(EmbeddedAudioTest, VolumeSliderAtZeroShowsMutedAndAboveShowsMute) {
    struct Step {
        double fAt;
        int nValue;
        bool bMuteShown;
    };
    for (const Step& step : {Step{0.0, 0, false}, Step{1.0, -1, true}, Step{0.0, 0, false}, Step{0.5, -1, true}}) {
        ClickSlider(L"audio_volume_slider", step.fAt);
        const int nValue = Slider(L"audio_volume_slider")->GetValue();
        if (step.nValue >= 0) {
            EXPECT_EQ(nValue, step.nValue) << step.fAt;
        }
        EXPECT_EQ(Visible(L"btn_audio_mute"), step.bMuteShown) << step.fAt << " value " << nValue;
        EXPECT_EQ(Visible(L"btn_audio_muted"), !step.bMuteShown) << step.fAt << " value " << nValue;
    }
}

TEST_F(EmbeddedAudioTest, PositionSliderAtEitherEndLeavesStateAndButtonsAlone) {
    m_window->Play(L"song.mp3");
    m_window->TakeLog();
    for (double fAt : {1.0, 0.0, 0.5}) {
        ClickSlider(L"audio_play_slider", fAt);
        EXPECT_TRUE(m_window->IsPlaying()) << fAt;
        EXPECT_TRUE(Visible(L"btn_audio_pause")) << fAt;
    }
    EXPECT_GT(Slider(L"audio_play_slider")->GetValue(), 0);
    EXPECT_TRUE(m_window->TakeLog().empty());
}

// Unmuting before any mute restores 182, limited by the volume slider's range.
TEST_F(OwnSkinAudioTest, UnmuteBeforeAnyMuteRestores182OrTheSliderMaximum) {
    for (int nMax : {300, 182, 150}) {
        OpenBar({L"btn_audio_mute", L"btn_audio_muted"}, nMax);
        Click(L"btn_audio_muted");
        EXPECT_EQ(Slider(L"audio_volume_slider")->GetValue(), nMax < 182 ? nMax : 182) << nMax;
        EXPECT_TRUE(Visible(L"btn_audio_mute")) << nMax;
        EXPECT_FALSE(Visible(L"btn_audio_muted")) << nMax;
        Close();
    }
}

TEST_F(OwnSkinAudioTest, MuteNamesMatchInAnyCaseButPlayAndPauseOnlyExactly) {
    OpenBar({L"BTN_AUDIO_MUTE", L"BTN_AUDIO_PLAY", L"Btn_Audio_Pause"});
    m_window->Play(L"song.mp3");
    Click(L"BTN_AUDIO_PLAY");  // Not play.
    Click(L"Btn_Audio_Pause");  // Not pause.
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_EQ(m_window->TakeLog(), (Log{L"Play song.mp3", L"UpdateUI"}));
    Click(L"BTN_AUDIO_MUTE");
    EXPECT_EQ(Slider(L"audio_volume_slider")->GetValue(), 0);
}

TEST_F(OwnSkinAudioTest, WithoutAPauseButtonPlayStaysShownAndNothingSwaps) {
    OpenBar({L"btn_audio_play"});
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    Click(L"btn_audio_play");
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    ::SendMessageW(Hwnd(), QEL_AUDIO_END_REACHED, 0, 0);
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    EXPECT_EQ(Text(L"audio_time"), kZeroTime);
}

TEST_F(OwnSkinAudioTest, MutePairWithoutAVolumeSliderSetsTheVolumeDirectly) {
    m_skin.WriteText(L"bare/audio.xml",
                     std::wstring(L"<?xml version=\"1.0\" encoding=\"utf-8\"?><Window size=\"440,224\">"
                                  L"<HorizontalLayout><Button name=\"btn_audio_mute\" width=\"40\" height=\"30\" />"
                                  L"<Button name=\"btn_audio_muted\" width=\"40\" height=\"30\" />"
                                  L"</HorizontalLayout></Window>"));
    Open(L"bare/audio.xml", m_skin.Path());
    Click(L"btn_audio_mute");
    EXPECT_TRUE(Visible(L"btn_audio_muted"));
    EXPECT_FALSE(Visible(L"btn_audio_mute"));
    Click(L"btn_audio_muted");
    EXPECT_TRUE(Visible(L"btn_audio_mute"));
    // Nothing to show the position on: the end only stops.
    ::SendMessageW(Hwnd(), QEL_AUDIO_END_REACHED, 0, 0);
    EXPECT_TRUE(m_window->Ended());
}

}  // namespace
