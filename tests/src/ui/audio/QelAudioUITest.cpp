#include "ui/audio/QelAudioUI.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "QelAudioWindowTestSupport.h"
#include "ui/audio/QelAudioUIWindow.h"

using namespace qel::audiotest;

namespace {

// Opens the control's window to the tests.
class ProbeAudioUI : public UiLib::QelAudioUI {
public:
    using QelAudioUI::QelAudioUI;
    std::shared_ptr<UiLib::QelAudioUIWindow> Window() const { return m_pWindow; }
};

// The player window's bar: every control the audio control's window looks up.
const wchar_t* const kPlayerSkin =
    L"<?xml version=\"1.0\" encoding=\"utf-8\"?><Window size=\"400,120\"><VerticalLayout>"
    L"<Control name=\"bk\" />"
    L"<HorizontalLayout height=\"40\">"
    L"<Button name=\"btn_audio_play\" width=\"40\" height=\"30\" />"
    L"<Button name=\"btn_audio_pause\" width=\"40\" height=\"30\" />"
    L"<Button name=\"btn_audio_stop\" width=\"40\" height=\"30\" />"
    L"<Button name=\"btn_audio_mute\" width=\"40\" height=\"30\" />"
    L"<Button name=\"btn_audio_muted\" width=\"40\" height=\"30\" />"
    L"<Slider name=\"audio_volume_slider\" width=\"100\" height=\"16\" min=\"0\" max=\"150\" value=\"100\" />"
    L"</HorizontalLayout>"
    L"<Slider name=\"audio_play_slider\" height=\"16\" min=\"0\" max=\"1000\" value=\"0\" />"
    L"<Text name=\"audio_time\" height=\"20\" text=\"00:00:00 / 00:00:00\" />"
    L"</VerticalLayout></Window>";

// The host's own skin: a strip above the audio control.
const wchar_t* const kHostSkin =
    L"<?xml version=\"1.0\" encoding=\"utf-8\"?><Window size=\"400,300\"><VerticalLayout>"
    L"<Control name=\"strip\" height=\"30\" />"
    L"<QelAudioUI name=\"audio\" height=\"120\" />"
    L"<Control />"
    L"</VerticalLayout></Window>";

class AudioControlTest : public ::testing::Test {
protected:
    void SetUp() override {
        UiLib::CDPI::SetMainMonitorDPIOverride(96);
        m_skin.WriteText(L"player/audio.xml", std::wstring(kPlayerSkin));
        m_skin.WriteText(L"host.xml", std::wstring(kHostSkin));
        m_host = std::make_unique<qel::test::TestSkinHost>(L"host.xml", [this](const wchar_t* szClass) {
            return std::wstring(szClass) == L"QelAudioUI"
                       ? static_cast<UiLib::CControlUI*>(new ProbeAudioUI(m_host->GetHWND(), L"player/audio.xml"))
                       : nullptr;
        });
        ASSERT_TRUE(m_host->Open());
        m_pControl = m_host->Find<ProbeAudioUI>(L"audio");
        ASSERT_NE(m_pControl, nullptr);
        ASSERT_NE(m_pControl->Window(), nullptr);
        ASSERT_TRUE(PumpUntil([this] { return Find(L"btn_audio_play") != nullptr && Bar() != nullptr; }));
        Relayout();
    }
    void TearDown() override {
        m_host.reset();
        PumpPending();
        UiLib::CDPI::SetMainMonitorDPIOverride(0);
    }

    HWND Player() const { return m_pControl->Window()->GetHWND(); }
    UiLib::CControlUI* Find(const wchar_t* szName) {
        return m_pControl->Window()->GetMainWndPaintManager()->FindControl(szName);
    }
    UiLib::CControlUI* Bar() { return Find(L"audio_play_slider"); }
    bool Visible(const wchar_t* szName) {
        UiLib::CControlUI* pControl = Find(szName);
        return pControl != nullptr && pControl->IsVisible();
    }
    int SliderValue(const wchar_t* szName) { return static_cast<UiLib::CSliderUI*>(Find(szName))->GetValue(); }
    void Relayout() {
        for (HWND hWnd : {m_host->GetHWND(), Player()}) Repaint(hWnd);
    }
    void Click(const wchar_t* szName) {
        Relayout();
        UiLib::CControlUI* pControl = Find(szName);
        ASSERT_NE(pControl, nullptr) << szName;
        ASSERT_TRUE(pControl->IsVisible()) << szName;
        ClickControl(Player(), *pControl);
    }
    // The player window's rectangle in the host's client coordinates.
    RECT PlayerRect() {
        RECT rc = {};
        ::GetWindowRect(Player(), &rc);
        ::MapWindowPoints(nullptr, m_host->GetHWND(), reinterpret_cast<POINT*>(&rc), 2);
        return rc;
    }

    TempSkinFolder m_skin;
    std::unique_ptr<qel::test::TestSkinHost> m_host;
    ProbeAudioUI* m_pControl = nullptr;
};

TEST(AudioControlWithoutWindowTest, EveryCallIsLostUntilInit) {
    ProbeAudioUI control(nullptr, L"player/audio.xml");
    control.Play(L"song.mp3");
    control.Pause();
    control.Resume();
    control.Stop();
    control.SetVolume(50);
    control.UpdateUI();
    control.SetAudioBkImage(L"C:\\bk.bmp");
    EXPECT_EQ(control.Window(), nullptr);
    EXPECT_EQ(control.GetVolume(), 0);
    EXPECT_FALSE(control.IsPlaying());
    EXPECT_STREQ(control.GetClass(), L"QelAudioUI");
    EXPECT_EQ(control.GetInterface(L"QelAudioUI"), &control);
    EXPECT_EQ(control.GetInterface(L"Control"), &control);
    EXPECT_EQ(control.GetInterface(L"qelaudioui"), nullptr);
}

TEST_F(AudioControlTest, WindowIsAChildOfTheHostAtTheControlsRectangle) {
    wchar_t szClass[64] = {};
    ::GetClassNameW(Player(), szClass, 64);
    EXPECT_STREQ(szClass, L"QelAudioUIWindow");
    EXPECT_EQ(::GetParent(Player()), m_host->GetHWND());
    EXPECT_EQ(static_cast<DWORD>(::GetWindowLongPtrW(Player(), GWL_STYLE)) & 0xFFFF0000u, 0x56000000u);
    const RECT rcControl = m_pControl->GetPos();
    const RECT rcPlayer = PlayerRect();
    EXPECT_TRUE(::EqualRect(&rcControl, &rcPlayer))
        << rcPlayer.left << "," << rcPlayer.top << "," << rcPlayer.right << "," << rcPlayer.bottom;
    EXPECT_EQ(rcControl.top, 30);
    // Not playing: the play button shows.
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    EXPECT_FALSE(Visible(L"btn_audio_pause"));
    // A second init makes no second window.
    const HWND hPlayer = Player();
    m_pControl->DoInit();
    EXPECT_EQ(Player(), hPlayer);
}

TEST_F(AudioControlTest, MovingAndHidingTheControlMovesAndHidesTheWindow) {
    // A sibling above the player window stays above it.
    const HWND hSibling = ::CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 0, 0, 10, 10, m_host->GetHWND(),
                                           nullptr, nullptr, nullptr);
    ::SetWindowPos(hSibling, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    ::SetFocus(m_host->GetHWND());
    const HWND hAbove = ::GetWindow(Player(), GW_HWNDPREV);

    m_pControl->SetPos(RECT{10, 50, 210, 150});
    const RECT rcPlayer = PlayerRect();
    const RECT rcExpected = {10, 50, 210, 150};
    EXPECT_TRUE(::EqualRect(&rcPlayer, &rcExpected));
    EXPECT_EQ(::GetWindow(Player(), GW_HWNDPREV), hAbove);
    EXPECT_EQ(::GetFocus(), m_host->GetHWND());

    m_pControl->SetVisible(false);
    EXPECT_FALSE(::IsWindowVisible(Player()));
    m_pControl->SetVisible(true);
    EXPECT_TRUE(::IsWindowVisible(Player()));
    // A container hidden around it hides it too.
    m_host->Root()->SetVisible(false);
    EXPECT_FALSE(::IsWindowVisible(Player()));
    m_host->Root()->SetVisible(true);
    EXPECT_TRUE(::IsWindowVisible(Player()));
    ::DestroyWindow(hSibling);
}

TEST_F(AudioControlTest, BrowserBackgroundColourIsAcceptedAndIgnored) {
    const DWORD dwBefore = m_pControl->GetBkColor();
    m_pControl->SetAttribute(L"browserbkcolor", L"#FF00FF00");
    m_pControl->SetAttribute(L"browserbkcolor", L"zz");
    EXPECT_EQ(m_pControl->GetBkColor(), dwBefore);
    m_pControl->SetAttribute(L"bkcolor", L"#FF00FF00");
    EXPECT_EQ(m_pControl->GetBkColor(), 0xFF00FF00u);
}

TEST_F(AudioControlTest, ForwardsPlaybackAndTheButtonsFollowThePlayingState) {
    m_pControl->Play(L"");
    EXPECT_FALSE(m_pControl->IsPlaying());
    m_pControl->Play(L"song.mp3");
    EXPECT_TRUE(m_pControl->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_pause"));
    EXPECT_FALSE(Visible(L"btn_audio_play"));
    m_pControl->Pause();
    EXPECT_FALSE(m_pControl->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    m_pControl->Resume();
    EXPECT_TRUE(Visible(L"btn_audio_pause"));
    m_pControl->Stop();
    EXPECT_FALSE(m_pControl->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_play"));
}

TEST_F(AudioControlTest, StopButtonKeepsTextAndSliderOnlyTheEndResetsThem) {
    m_pControl->Play(L"song.mp3");
    Find(L"audio_time")->SetText(L"00:01:05 / 00:03:20");
    static_cast<UiLib::CSliderUI*>(Find(L"audio_play_slider"))->SetValue(325);

    Click(L"btn_audio_stop");
    EXPECT_FALSE(m_pControl->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    EXPECT_EQ(Find(L"audio_time")->GetText().Str(), L"00:01:05 / 00:03:20");
    EXPECT_EQ(SliderValue(L"audio_play_slider"), 325);

    Click(L"btn_audio_play");
    EXPECT_TRUE(m_pControl->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_pause"));

    EXPECT_EQ(::SendMessageW(Player(), QEL_AUDIO_END_REACHED, 0, 0), 1);
    EXPECT_FALSE(m_pControl->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_audio_play"));
    EXPECT_EQ(Find(L"audio_time")->GetText().Str(), L"00:00:00 / 00:00:00");
    EXPECT_EQ(SliderValue(L"audio_play_slider"), 0);
}

TEST_F(AudioControlTest, MutePairGoesThroughTheVolumeSlider) {
    // Unmuting before any mute restores 182, limited by this slider's maximum of 150.
    Click(L"btn_audio_muted");
    EXPECT_EQ(SliderValue(L"audio_volume_slider"), 150);
    EXPECT_TRUE(Visible(L"btn_audio_mute"));
    EXPECT_FALSE(Visible(L"btn_audio_muted"));

    Click(L"btn_audio_mute");
    EXPECT_EQ(SliderValue(L"audio_volume_slider"), 0);
    EXPECT_FALSE(Visible(L"btn_audio_mute"));
    EXPECT_TRUE(Visible(L"btn_audio_muted"));
    // Without libvlc the player's volume, which mute saved, is 0.
    Click(L"btn_audio_muted");
    EXPECT_EQ(SliderValue(L"audio_volume_slider"), 0);
    EXPECT_TRUE(Visible(L"btn_audio_mute"));
    EXPECT_FALSE(Visible(L"btn_audio_muted"));
}

TEST_F(AudioControlTest, BackgroundPictureIsShownOnlyWhenItsFileExists) {
    m_skin.WriteSolidBitmap(L"cover.bmp", 8, 8, RGB(200, 30, 30));
    const std::wstring strMissing = m_skin.Path() + L"\\missing.bmp";
    m_pControl->SetAudioBkImage(strMissing);
    EXPECT_STREQ(Find(L"bk")->GetBkImage(), L"");
    const std::wstring strCover = m_skin.Path() + L"\\cover.bmp";
    m_pControl->SetAudioBkImage(strCover);
    EXPECT_EQ(std::wstring(Find(L"bk")->GetBkImage()), strCover);
}

TEST(AudioControlLifetimeTest, DestroyingTheControlStopsButLeavesTheWindowUntilItsHostGoes) {
    TempSkinFolder skin;
    skin.WriteText(L"player/audio.xml", std::wstring(kPlayerSkin));
    const HWND hHost = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 20, 20, 400, 200, nullptr, nullptr,
                                         nullptr, nullptr);
    ASSERT_NE(hHost, nullptr);
    std::shared_ptr<UiLib::QelAudioUIWindow> pWindow;
    {
        ProbeAudioUI control(hHost, L"player/audio.xml");
        control.DoInit();
        pWindow = control.Window();
        ASSERT_NE(pWindow, nullptr);
        ASSERT_TRUE(PumpUntil([&] { return pWindow->GetMainWndPaintManager()->FindControl(L"bk") != nullptr; }));
        {
            ProbeAudioUI copy(control);  // Shares the window and stops it on its way out.
            EXPECT_EQ(copy.Window(), pWindow);
            copy.Play(L"song.mp3");
            EXPECT_TRUE(control.IsPlaying());
        }
        EXPECT_FALSE(control.IsPlaying());
    }
    EXPECT_TRUE(::IsWindow(pWindow->GetHWND()));
    EXPECT_EQ(pWindow.use_count(), 2);  // Ours and the window's own, while its handle lives.
    ::DestroyWindow(hHost);
    PumpPending();
    EXPECT_EQ(pWindow.use_count(), 1);
}

}  // namespace
