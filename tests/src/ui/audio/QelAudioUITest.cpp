// The audio control in a host's own skinned window under Wine: the player window it makes
// a child of the host, kept at its place and visibility, the calls it forwards, and the
// lifetime of a window shared by copies of the control.
#include "ui/audio/QelAudioUI.h"

#include "../QelUiTestSupport.h"
#include "ui/audio/QelAudioUIWindow.h"

using namespace qel::test;

namespace {

class ProbeAudioUI : public UiLib::QelAudioUI {
public:
    using QelAudioUI::QelAudioUI;
    std::shared_ptr<UiLib::QelAudioUIWindow> Window() const { return m_pWindow; }
};

// The host: a 30-pixel strip above the control, whose window shows the sample audio skin.
class AudioControlTest : public SkinnedWindowFixture<Exposed<UiLib::QelAudioUIWindow>> {
protected:
    void SetUp() override {
        m_skins.WriteText(L"host.xml", L"<Window size=\"440,300\"><VerticalLayout name=\"root\"><Control height="
                                       L"\"30\"/><QelAudioUI name=\"audio\" height=\"224\"/><Control/></VerticalLayout>"
                                       L"</Window>");
        m_host = std::make_unique<TestSkinHost>(m_skins.Path() + L"host.xml", [this](const wchar_t* szClass) {
            return std::wstring(szClass) == L"QelAudioUI" ? new ProbeAudioUI(*m_host, L"audio/audio.xml") : nullptr;
        });
        ASSERT_TRUE(m_host->Open(RECT{20, 20, 460, 320}));
        m_pControl = m_host->Find<ProbeAudioUI>(L"audio");
        Repaint(Hwnd());
    }
    void TearDown() override { m_host.reset(); }
    HWND Hwnd() override { return m_pControl->Window()->GetHWND(); }
    UiLib::CPaintManagerUI& Manager() override { return *m_pControl->Window()->GetMainWndPaintManager(); }

    ScopedResourcePath m_samples{BuiltSkinFolder()};
    std::unique_ptr<TestSkinHost> m_host;
    ProbeAudioUI* m_pControl = nullptr;
};

TEST_F(AudioControlTest, ItsWindowIsTheHostsChildAtItsPlaceAndFollowsItsPlaceAndVisibility) {
    EXPECT_EQ(::GetParent(Hwnd()), m_host->GetHWND());
    EXPECT_EQ(WindowRectText(Hwnd()), "0,30,440,254");
    m_pControl->SetPos(RECT{10, 50, 210, 150});
    EXPECT_EQ(WindowRectText(Hwnd()), "10,50,210,150");
    std::string strVisible;
    for (auto [pControl, bVisible] : {std::pair<UiLib::CControlUI*, bool>{m_pControl, false}, {m_pControl, true},
                                      {m_host->Root(), false}, {m_host->Root(), true}}) {
        pControl->SetVisible(bVisible);
        strVisible += ::IsWindowVisible(Hwnd()) ? "shown " : "hidden ";
    }
    EXPECT_EQ(strVisible, "hidden shown hidden shown ");
}

TEST_F(AudioControlTest, ItForwardsPlaybackTheButtonsFollowAndABackgroundPictureShowsOnlyWhenItsFileExists) {
    std::wstring strButtons;
    for (const auto& fnCall : std::initializer_list<std::function<void()>>{
             [&] { m_pControl->Play(L""); }, [&] { m_pControl->Play(L"song.mp3"); }, [&] { m_pControl->Pause(); },
             [&] { m_pControl->Resume(); }, [&] { m_pControl->Stop(); }}) {
        fnCall();
        strButtons += Shown(L"btn_audio_", L"play pause") + L" ";
    }
    EXPECT_EQ(strButtons, L"play pause play pause play ");

    const std::wstring strBefore = Find(L"bk")->GetBkImage();
    m_pControl->SetAudioBkImage(m_skins.Path() + L"cover.bmp");
    EXPECT_EQ(std::wstring(Find(L"bk")->GetBkImage()), strBefore) << "no such file yet";
    m_skins.WriteText(L"cover.bmp", L"only its existence counts");
    m_pControl->UpdateUI();
    EXPECT_EQ(std::wstring(Find(L"bk")->GetBkImage()), m_skins.Path() + L"cover.bmp");
}

TEST_F(AudioControlTest, CallsAreLostUntilInitAndACopyDestroyedWhilePlayingStopsTheWindowWhichGoesWithTheHost) {
    ProbeAudioUI unborn(nullptr, L"audio/audio.xml");
    unborn.Play(L"song.mp3");
    unborn.SetAudioBkImage(L"C:\\bk.bmp");
    EXPECT_FALSE(unborn.Window() || unborn.IsPlaying());
    std::weak_ptr<UiLib::QelAudioUIWindow> window = m_pControl->Window();
    {
        ProbeAudioUI copy(*m_pControl);
        copy.Play(L"song.mp3");
        EXPECT_TRUE(m_pControl->IsPlaying());
    }
    EXPECT_FALSE(m_pControl->IsPlaying());
    m_pControl->DoInit();
    EXPECT_EQ(m_pControl->Window(), window.lock()) << "a second init makes no second window";
    ASSERT_TRUE(m_host->Find<UiLib::CContainerUI>(L"root")->Remove(m_pControl));  // deletes the control
    EXPECT_TRUE(::IsWindow(window.lock()->GetHWND())) << "the window stays until its host goes";
    m_host.reset();
    PumpPending();
    EXPECT_TRUE(window.expired());
}

}  // namespace
