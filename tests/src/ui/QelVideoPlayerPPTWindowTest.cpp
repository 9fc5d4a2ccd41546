#include "ui/QelVideoPlayerPPTWindow.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "QelFakeEngine.h"
#include "QelUiTestSupport.h"
#include "ui/QelVideoWindow.h"
#include "video/QelMessages.h"

using namespace qel::uitest;
namespace fake = qel::fake_engine;

namespace {

// Opens the tree to the tests.
class ProbePPTWindow : public QelVideoPlayerPPTWindow {
public:
    ProbePPTWindow() : QelVideoPlayerPPTWindow(L"video/video.xml", nullptr) {}
    UiLib::CControlUI* Find(const wchar_t* szName) { return m_PaintManager.FindControl(szName); }
    UiLib::CPaintManagerUI& Manager() { return m_PaintManager; }
    bool Initialised() const { return m_hParent != nullptr; }
};

// The sample skins the build puts beside the programs: <build>/ui/qelmediaplayer/.
BOOL CALLBACK CountPopup(HWND hWnd, LPARAM lParam) {
    wchar_t szClass[64] = {};
    ::GetClassNameW(hWnd, szClass, 64);
    if (std::wstring(szClass) == L"QelVideoDotPopupWidget" && ::IsWindowVisible(hWnd))
        reinterpret_cast<std::vector<HWND>*>(lParam)->push_back(hWnd);
    return TRUE;
}

std::vector<HWND> DotPopups() {
    std::vector<HWND> vecPopups;
    ::EnumWindows(CountPopup, reinterpret_cast<LPARAM>(&vecPopups));
    return vecPopups;
}

const fake::Call* LastSetRect() {
    static std::vector<fake::Call> calls;
    calls = fake::Calls();
    for (auto it = calls.rbegin(); it != calls.rend(); ++it)
        if (it->strName == "SetRect") return &*it;
    return nullptr;
}

constexpr int kParentWidth = 640;
constexpr int kParentHeight = 400;
constexpr int kBarHeight = 48;

class EmbeddedPlayerTest : public ::testing::Test {
protected:
    void SetUp() override {
        UiLib::CDPI::SetMainMonitorDPIOverride(96);
        m_strOldResourcePath = UiLib::CPaintManagerUI::GetResourcePath().Str();
        UiLib::CPaintManagerUI::SetResourcePath(BuiltSkinFolder().c_str());
        fake::Reset();
        m_clip.WriteText(L"clip.mp4", std::string("not really a video"));
        m_strClip = m_clip.Path();
        if (m_strClip.back() != L'\\') m_strClip += L'\\';
        m_strClip += L"clip.mp4";
        // The skin folder is ours again after the temporary folder took it.
        UiLib::CPaintManagerUI::SetResourcePath(BuiltSkinFolder().c_str());

        m_hParent = ::CreateWindowExW(0, L"STATIC", L"qel-embedded-parent", WS_POPUP | WS_VISIBLE, 20, 20,
                                      kParentWidth, kParentHeight, nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(m_hParent, nullptr);
        m_window = std::make_unique<ProbePPTWindow>();
        ASSERT_NE(m_window->Create(m_hParent, L"video", WS_CHILD | WS_VISIBLE, 0,
                                   RECT{0, 0, kParentWidth, kParentHeight}),
                  nullptr);
        Relayout();
        ASSERT_TRUE(PumpUntil([this] { return m_window->Initialised(); }));
        ASSERT_NE(m_window->Find(L"video_play_slider"), nullptr) << "sample skin not found";
    }
    void TearDown() override {
        if (m_window) {
            m_window->Stop();
            if (::IsWindow(Hwnd())) ::DestroyWindow(Hwnd());
            m_window.reset();
        }
        if (m_hParent) ::DestroyWindow(m_hParent);
        PumpPending();
        UiLib::CPaintManagerUI::SetResourcePath(m_strOldResourcePath.c_str());
        UiLib::CDPI::SetMainMonitorDPIOverride(0);
    }

    HWND Hwnd() const { return m_window->GetHWND(); }
    void Relayout() { Repaint(Hwnd()); }
    bool Visible(const wchar_t* szName) {
        UiLib::CControlUI* pControl = m_window->Find(szName);
        return pControl != nullptr && pControl->IsVisible();
    }
    // A left click at the centre of a skin control, through the window procedure.
    void Click(const wchar_t* szName) {
        Relayout();
        UiLib::CControlUI* pControl = m_window->Find(szName);
        ASSERT_NE(pControl, nullptr) << szName;
        ASSERT_TRUE(pControl->IsVisible()) << szName;
        ClickControl(Hwnd(), *pControl);
    }
    void StartPlaying() {
        m_window->Play(m_strClip);
        ASSERT_TRUE(m_window->IsPlaying());
        fake::Reset();
    }
    std::wstring TimeText() { return m_window->Find(L"video_time")->GetText().Str(); }
    UiLib::CSliderUI* Slider(const wchar_t* szName) { return static_cast<UiLib::CSliderUI*>(m_window->Find(szName)); }

    std::wstring m_strOldResourcePath;
    TempSkinFolder m_clip;
    std::wstring m_strClip;
    HWND m_hParent = nullptr;
    std::unique_ptr<ProbePPTWindow> m_window;
};

TEST_F(EmbeddedPlayerTest, BuildsTheTwoLibraryControlsWhateverTheCase) {
    std::unique_ptr<UiLib::CControlUI> pSlider(m_window->CreateControl(L"qelslider"));
    std::unique_ptr<UiLib::CControlUI> pSurface(m_window->CreateControl(L"QELVIDEOUI"));
    ASSERT_NE(pSlider, nullptr);
    ASSERT_NE(pSurface, nullptr);
    EXPECT_NE(pSlider->GetInterface(L"QelSlider"), nullptr);
    EXPECT_STREQ(pSurface->GetClass(), L"QelVideoUI");
    EXPECT_EQ(m_window->CreateControl(L"Button"), nullptr);
}

TEST_F(EmbeddedPlayerTest, PlayAfterPauseOpensThePathAgain) {
    StartPlaying();
    EXPECT_TRUE(Visible(L"btn_video_pause"));
    Click(L"btn_video_pause");
    // The state change lays the render area out again after the pause.
    EXPECT_EQ(fake::CallNames().compare(0, 6, "Pause "), 0) << fake::CallNames();
    EXPECT_TRUE(Visible(L"btn_video_play"));
    EXPECT_FALSE(Visible(L"btn_video_pause"));

    fake::Reset();
    Click(L"btn_video_play");
    EXPECT_EQ(fake::CallNames().compare(0, 10, "Close Open"), 0) << fake::CallNames();
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_TRUE(Visible(L"btn_video_pause"));
}

TEST_F(EmbeddedPlayerTest, TickMovesSliderAndTextWhilePausedTheSliderShowsZeroAndTheTextStays) {
    fake::ScriptParam(QEL_PARAM_DURATION, 60000);
    StartPlaying();
    fake::ScriptParam(QEL_PARAM_POSITION, 5000);
    ::SendMessageW(Hwnd(), WM_TIMER, QelVideoPlayerWindow::kPositionTimerId, 0);
    EXPECT_EQ(TimeText(), L"00:00:05 / 00:01:00");
    EXPECT_EQ(Slider(L"video_play_slider")->GetValue(), 5);
    EXPECT_EQ(Slider(L"video_play_slider")->GetMaxValue(), 60);

    Click(L"btn_video_pause");
    EXPECT_EQ(Slider(L"video_play_slider")->GetValue(), 0);
    EXPECT_EQ(TimeText(), L"00:00:05 / 00:01:00");
    ::SendMessageW(Hwnd(), WM_TIMER, QelVideoPlayerWindow::kPositionTimerId, 0);
    EXPECT_EQ(Slider(L"video_play_slider")->GetValue(), 0);
}

TEST_F(EmbeddedPlayerTest, StopAndEndResetTextSliderAndButtons) {
    for (bool bEnd : {false, true}) {
        fake::ScriptParam(QEL_PARAM_DURATION, 60000);
        StartPlaying();
        fake::ScriptParam(QEL_PARAM_POSITION, 5000);
        ::SendMessageW(Hwnd(), WM_TIMER, QelVideoPlayerWindow::kPositionTimerId, 0);
        if (bEnd)
            ::SendMessageW(Hwnd(), QEL_VIDEO_PLAYER_EVENT, QEL_VIDEO_EVENT_END, 0);
        else
            Click(L"btn_video_stop");
        EXPECT_EQ(TimeText(), L"00:00:00 / 00:00:00") << bEnd;
        EXPECT_EQ(Slider(L"video_play_slider")->GetValue(), 0) << bEnd;
        EXPECT_TRUE(Visible(L"btn_video_play")) << bEnd;
        EXPECT_FALSE(Visible(L"btn_video_pause")) << bEnd;
        EXPECT_FALSE(m_window->IsPlaying()) << bEnd;
    }
}

TEST_F(EmbeddedPlayerTest, FullScreenButtonsSwapAndTheRenderAreaTakesTheScreenWidth) {
    StartPlaying();
    Click(L"btn_video_full");
    EXPECT_TRUE(m_window->IsFullscreen());
    EXPECT_FALSE(Visible(L"btn_video_full"));
    EXPECT_TRUE(Visible(L"btn_video_exit_full"));
    const fake::Call* pRect = LastSetRect();
    ASSERT_NE(pRect, nullptr);
    EXPECT_EQ(pRect->args.at(4), ::GetSystemMetrics(SM_CXSCREEN));

    fake::Reset();
    Click(L"btn_video_exit_full");
    EXPECT_FALSE(m_window->IsFullscreen());
    EXPECT_EQ(::GetParent(Hwnd()), m_hParent);
    EXPECT_TRUE(Visible(L"btn_video_full"));
    EXPECT_FALSE(Visible(L"btn_video_exit_full"));
    pRect = LastSetRect();
    ASSERT_NE(pRect, nullptr);
    EXPECT_EQ(pRect->args.at(4), kParentWidth);
    EXPECT_EQ(pRect->args.at(5), kParentHeight - kBarHeight);
}

TEST_F(EmbeddedPlayerTest, MuteThenUnmuteRestoresTheVolume) {
    m_window->SetAudioVolume(250);
    Click(L"btn_video_mute");
    EXPECT_EQ(m_window->GetAudioVolume(), 0);
    EXPECT_EQ(Slider(L"video_volume_slider")->GetValue(), 0);
    EXPECT_FALSE(Visible(L"btn_video_mute"));
    EXPECT_TRUE(Visible(L"btn_video_muted"));

    Click(L"btn_video_muted");
    EXPECT_EQ(m_window->GetAudioVolume(), 250);
    EXPECT_EQ(Slider(L"video_volume_slider")->GetValue(), 250);
    EXPECT_TRUE(Visible(L"btn_video_mute"));
    EXPECT_FALSE(Visible(L"btn_video_muted"));
}

TEST_F(EmbeddedPlayerTest, HotDotOpensOnePopupAboveTheCursorAndKillFocusClosesIt) {
    ::SetCursorPos(300, 300);
    POINT pt = {};
    ::GetCursorPos(&pt);
    UiLib::CControlUI* pSlider = m_window->Find(L"video_play_slider");
    m_window->Manager().SendNotify(pSlider, L"videodothot");
    m_window->Manager().SendNotify(pSlider, L"videodothot");
    PumpPending();
    const std::vector<HWND> vecPopups = DotPopups();
    ASSERT_EQ(vecPopups.size(), 1u);
    RECT rc = {};
    ::GetWindowRect(vecPopups[0], &rc);
    EXPECT_NEAR((rc.left + rc.right) / 2, pt.x, 1);
    EXPECT_EQ(rc.bottom, pt.y - 20);

    m_window->Manager().SendNotify(pSlider, L"videodotkillfocus");
    PumpPending();
    EXPECT_TRUE(DotPopups().empty());

    m_window->Manager().SendNotify(m_window->Find(L"video_volume_slider"), L"videodothot");
    PumpPending();
    EXPECT_TRUE(DotPopups().empty()) << "only the play slider has dots";
}

TEST_F(EmbeddedPlayerTest, AnOpenPopupGoesWithThePlayer) {
    m_window->Manager().SendNotify(m_window->Find(L"video_play_slider"), L"videodothot");
    PumpPending();
    ASSERT_EQ(DotPopups().size(), 1u);
    ::DestroyWindow(Hwnd());
    m_window.reset();
    PumpPending();
    EXPECT_TRUE(DotPopups().empty());
}

TEST_F(EmbeddedPlayerTest, HiddenBarCountsForStateChangesButNotForResizes) {
    StartPlaying();
    fake::Reset();
    ::SendMessageW(Hwnd(), WM_SIZE, SIZE_RESTORED, MAKELPARAM(kParentWidth, kParentHeight));
    const fake::Call* pRect = LastSetRect();
    ASSERT_NE(pRect, nullptr);
    EXPECT_EQ(pRect->args.at(5), kParentHeight - kBarHeight) << "visible bar on resize";

    m_window->Find(L"video_play_ctrl")->SetVisible(false);
    Relayout();
    fake::Reset();
    m_window->Pause();
    pRect = LastSetRect();
    ASSERT_NE(pRect, nullptr);
    EXPECT_EQ(pRect->args.at(5), kParentHeight - kBarHeight) << "hidden bar on a state change";

    fake::Reset();
    ::SendMessageW(Hwnd(), WM_SIZE, SIZE_RESTORED, MAKELPARAM(kParentWidth, kParentHeight));
    pRect = LastSetRect();
    ASSERT_NE(pRect, nullptr);
    EXPECT_EQ(pRect->args.at(5), kParentHeight) << "hidden bar on resize";
}

TEST_F(EmbeddedPlayerTest, DoubleClickOnThePicturePausesAndResumes) {
    StartPlaying();
    HWND hSurface = static_cast<QelVideoUI*>(m_window->Find(L"video_area"))->GetVideoWindow()->GetHWND();
    ::SendMessageW(hSurface, WM_LBUTTONDBLCLK, MK_LBUTTON, ClientPoint(10, 10));
    ASSERT_TRUE(PumpUntil([this] { return !m_window->IsPlaying(); }));
    EXPECT_EQ(fake::CallNames().compare(0, 6, "Pause "), 0) << fake::CallNames();
    fake::Reset();
    ::SendMessageW(hSurface, WM_LBUTTONDBLCLK, MK_LBUTTON, ClientPoint(10, 10));
    ASSERT_TRUE(PumpUntil([this] { return m_window->IsPlaying(); }));
    EXPECT_EQ(fake::CallNames().compare(0, 5, "Play "), 0) << fake::CallNames();
}

}  // namespace
