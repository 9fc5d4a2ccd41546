// The video player window through its embedded variant, with the video surface, under
// Wine on the substitute engine: what messages, the position timer, keys, clicks and full
// screen (topmost over the shared desktop) make of the engine and of the controls, the
// status line over the picture, focus and tooltips.
#include "ui/QelVideoPlayerPPTWindow.h"

#include <commctrl.h>

#include <utility>

#include "QelFakeEngine.h"
#include "QelUiTestSupport.h"
#include "log/QelLog.h"
#include "platform/utils/QelFileTestHelpers.h"
#include "ui/QelVideoWindow.h"
#include "video/QelMessages.h"

using namespace qel::test;
namespace fake = qel::fake_engine;

namespace {

// This process's own log, opened before any manager (the first opener wins), so that no
// line of another test run can answer for this one.
const std::wstring& OwnLogPath() {
    static const std::wstring s_strPath = [] {
        wchar_t szTemp[MAX_PATH] = {};
        ::GetTempPathW(MAX_PATH, szTemp);
        const std::wstring strPath = szTemp + (L"qel-ui-video-" + std::to_wstring(::GetCurrentProcessId()) + L".log");
        ::DeleteFileW(strPath.c_str());
        qel::log::OpenProcessLog(strPath);
        return strPath;
    }();
    return s_strPath;
}

// The engine calls that change playback, in order: "Open Pause Seek(15000) Volume(0) Close".
std::string EngineCalls() {
    std::string strCalls;
    for (const fake::Call& call : fake::Calls()) {
        if (call.strName == "Seek") strCalls += "Seek(" + std::to_string(call.args.at(1)) + ") ";
        if (call.strName == "SetParam" && call.args.at(1) == QEL_PARAM_VOLUME)
            strCalls += "Volume(" + std::to_string(call.args.at(2)) + ") ";
        if (call.strName == "Open" || call.strName == "Close" || call.strName == "Play" || call.strName == "Pause")
            strCalls += call.strName + " ";
    }
    return strCalls;
}

// The embedded player, whose position ticks come from the test alone.
class ClockedWindow : public Exposed<QelVideoPlayerPPTWindow> {
public:
    using Exposed::Exposed;
    void Tick() {
        m_bTicking = true;
        SendMessage(WM_TIMER, kPositionTimerId);
        m_bTicking = false;
    }
protected:
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override {
        if (uMsg == WM_TIMER && wParam == kPositionTimerId && !m_bTicking) return 0;
        return Exposed::HandleMessage(uMsg, wParam, lParam);
    }
    bool m_bTicking = false;
};

// The sample skin "video/video.xml", playing a file of the test's own at 5 s of 60 s;
// each case sees only its own engine calls.
class VideoWindowTest : public SkinnedWindowFixture<ClockedWindow> {
protected:
    static void SetUpTestSuite() { OwnLogPath(); }
    void SetUp() override {
        Open(L"video/video.xml");
        StartPlaying(60000);
    }
    void StartPlaying(long long llDuration) {
        m_skins.WriteText(L"clip.mp4", L"not really a video");
        fake::Reset();
        fake::ScriptParam(QEL_PARAM_DURATION, llDuration);
        m_window->Play(Clip());
        PumpPending();  // the manager's "started" message
        fake::ScriptParam(QEL_PARAM_POSITION, 5000);
        m_window->Tick();
        fake::Reset();
        fake::ScriptParam(QEL_PARAM_DURATION, llDuration);
        fake::ScriptParam(QEL_PARAM_POSITION, 5000);
    }
    // Buttons shown, time text, position slider, window volume: "pause mute full | 00:00:05 / 00:01:00 | 5 | 182".
    std::wstring Bar() {
        return Shown(L"btn_video_", L"play pause mute muted full exit_full") + L" | " + Text(L"video_time") + L" | " +
               std::to_wstring(Value(L"video_play_slider")) + L" | " + std::to_wstring(m_window->GetAudioVolume());
    }
    std::wstring Clip() { return m_skins.Path() + L"clip.mp4"; }
    QelVideoUI& Surface() { return *static_cast<QelVideoUI*>(Find(L"video_area")); }
    HWND Picture() { return Surface().GetVideoWindow()->GetHWND(); }
    // The line shown over the picture, "" for none.
    std::wstring StatusLine() {
        const HWND hLine = ::FindWindowExW(Picture(), nullptr, L"QelVideoStatusWindow", nullptr);
        wchar_t szText[128] = {};
        if (hLine != nullptr && ::IsWindowVisible(hLine)) ::GetWindowTextW(hLine, szText, 128);
        return szText;
    }
    // The text of the tooltip the player shows, "" for none.
    std::wstring ToolTip() {
        for (HWND hTip = nullptr; (hTip = ::FindWindowExW(nullptr, hTip, TOOLTIPS_CLASSW, nullptr));) {
            wchar_t szText[80] = {};
            TTTOOLINFOW info = {};
            info.cbSize = TTTOOLINFOW_V2_SIZE;
            info.hwnd = Hwnd();
            info.uId = reinterpret_cast<UINT_PTR>(Hwnd());
            info.lpszText = szText;
            if (::IsWindowVisible(hTip)) ::SendMessageW(hTip, TTM_GETTEXTW, 80, reinterpret_cast<LPARAM>(&info));
            if (szText[0] != 0) return szText;
        }
        return L"";
    }
    // The dot pop-ups hanging from a window.
    static int DotPopups(HWND hOwner) {
        int nPopups = 0;
        for (HWND hWnd = nullptr; (hWnd = ::FindWindowExW(nullptr, hWnd, L"QelVideoDotPopupWidget", nullptr));)
            nPopups += ::GetWindow(hWnd, GW_OWNER) == hOwner ? 1 : 0;
        return nPopups;
    }
};

TEST_F(VideoWindowTest, ClicksMessagesAndDoubleClicks) {
    const struct { const wchar_t *pszActions, *pszBar; const char* pszCalls; } kRows[] = {
        // Buttons by name; "@end" and "@other" are the engine's player events and "@click2" a
        // double click, all through the picture; "@stop" and "@play" are the host's requests.
        // A row gives the bar as far as the row decides it: "pause play" restarts playback,
        // after which the slider is whatever a position tick made it, so that row ends early.
        {L"", L"pause mute full | 00:00:05 / 00:01:00 | 5 | 182", ""},
        {L"pause", L"play mute full | 00:00:05 / 00:01:00 | 0 | 182", "Pause "},
        {L"pause play", L"pause mute full | ", "Pause Close Open Volume(0) Play "},
        {L"stop", L"play mute full | 00:00:00 / 00:00:00 | 0 | 182", "Close "},
        {L"@end", L"play mute full | 00:00:00 / 00:00:00 | 0 | 182", "Close "},
        {L"@other", L"pause mute full | 00:00:05 / 00:01:00 | 5 | 182", ""},
        {L"@click2 @click2", L"pause mute full | 00:00:05 / 00:01:00 | 0 | 182", "Pause Play "},
        {L"@stop", L"pause mute full | 00:00:05 / 00:01:00 | 0 | 182", "Close "},
        {L"@play", L"pause mute full | 00:00:05 / 00:01:00 | 0 | 182", "Play "},
        {L"forward backward", L"pause mute full | 00:00:05 / 00:01:00 | 5 | 182", "Seek(15000) Seek(0) "},
        {L"mute", L"pause muted full | 00:00:05 / 00:01:00 | 5 | 0", "Volume(-182) "},
        {L"mute muted", L"pause mute full | 00:00:05 / 00:01:00 | 5 | 182", "Volume(-182) Volume(0) "},
        {L"full", L"pause mute exit_full | 00:00:05 / 00:01:00 | 0 | 182", ""},
        {L"full exit_full", L"pause mute full | 00:00:05 / 00:01:00 | 0 | 182", ""},
    };
    for (const auto& row : kRows) {
        Close();
        SetUp();
        std::wistringstream actions(row.pszActions);
        for (std::wstring strAction; actions >> strAction;) {
            if (strAction == L"@end") ::PostMessageW(Picture(), QEL_VIDEO_PLAYER_EVENT, QEL_VIDEO_EVENT_END, 0);
            if (strAction == L"@other") ::PostMessageW(Picture(), QEL_VIDEO_PLAYER_EVENT, 0x50415553, 0);
            if (strAction == L"@click2") ::SendMessageW(Picture(), WM_LBUTTONDBLCLK, MK_LBUTTON, 0);
            if (strAction == L"@stop") Send(QEL_VIDEO_STOP_REQUEST);
            if (strAction == L"@play") Send(QEL_VIDEO_PLAY_REQUEST);
            if (strAction[0] != L'@') Click(L"btn_video_" + strAction);
            PumpPending();
        }
        EXPECT_EQ(Bar().substr(0, wcslen(row.pszBar)), row.pszBar) << row.pszActions;
        EXPECT_EQ(EngineCalls(), row.pszCalls) << row.pszActions;
    }
}

TEST_F(VideoWindowTest, PlayRunsTheTimerWhichShowsHoursWrappingAt60WhilePlayingSeeksAndMuteKeepTheirUnits) {
    const auto timer = [&] { return ::KillTimer(Hwnd(), QelVideoPlayerWindow::kPositionTimerId) != FALSE; };
    EXPECT_TRUE(timer());
    Close();
    Open(L"video/video.xml");
    m_window->Play(L"");
    EXPECT_FALSE(timer()) << "an empty path starts nothing";
    StartPlaying(360000000);
    fake::ScriptParam(QEL_PARAM_POSITION, 3725000);
    m_window->Tick();
    EXPECT_EQ(Text(L"video_time"), L"01:02:05 / 40:00:00");
    m_window->Pause();
    fake::ScriptParam(QEL_PARAM_POSITION, 7000);
    m_window->Tick();
    EXPECT_EQ(Text(L"video_time") + L" " + std::to_wstring(Value(L"video_play_slider")), L"01:02:05 / 40:00:00 0");
    EXPECT_EQ(QelVideoPlayerWindow::FormatTimeText(-1000, 0), L"31:00:15 / 00:00:00") << "-1 s read unsigned";
    m_window->Seek(42);
    m_window->Mute(true);
    m_window->Mute(false);  // hands the saved window-scale 182 to the manager unshifted
    EXPECT_EQ(EngineCalls() + std::to_string(m_window->GetAudioVolume()),
              "Pause Seek(42000) Volume(-182) Volume(182) 364");
}

TEST_F(VideoWindowTest, FullScreenLeavesTheParentTopmostOverTheScreenAndEscapeBringsItBack) {
    const int cx = ::GetSystemMetrics(SM_CXSCREEN), cy = ::GetSystemMetrics(SM_CYSCREEN);
    const auto state = [&] {  // ... and the size of the last render area handed to the engine
        std::string strArea;
        for (const fake::Call& call : fake::Calls())
            if (call.strName == "SetRect") strArea = std::to_string(call.args[4]) + "," + std::to_string(call.args[5]);
        const bool bTopmost = (::GetWindowLongPtrW(Hwnd(), GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
        return WindowRectText(Hwnd()) + (m_window->IsFullscreen() ? " full" : "") +
               (::GetParent(Hwnd()) == m_hParent ? " in parent" : bTopmost ? " topmost" : "") + " area " + strArea;
    };
    EXPECT_EQ(Send(WM_KEYDOWN, VK_ESCAPE), 0);
    EXPECT_EQ(state(), "0,0,640,400 in parent area ") << "outside full screen Escape changes nothing";
    Click(L"btn_video_full");
    EXPECT_EQ(state(), RectText({0, 0, cx, cy}) + " full topmost area " + std::to_string(cx) + "," +
                           std::to_string(cy - 48));
    EXPECT_EQ(Send(WM_KEYDOWN, VK_ESCAPE), 0);
    EXPECT_EQ(state(), "0,0,640,400 in parent area 640,352");
    Find(L"video_play_ctrl")->SetVisible(false);
    m_window->Pause();
    EXPECT_EQ(state(), "0,0,640,400 in parent area 640,352") << "a state change counts the hidden bar";
    Send(WM_SIZE, SIZE_RESTORED, MAKELPARAM(640, 400));
    EXPECT_EQ(state(), "0,0,640,400 in parent area 640,400") << "a resize does not";
}

TEST_F(VideoWindowTest, ThePictureForwardsASeekToASegmentFollowsTheSurfaceAndGoesWithItsLastCopy) {
    ::PostMessageW(Picture(), QEL_VIDEO_SEEK_TS, 4242, 0);  // as the engine does
    PumpPending();
    const std::string strLog = ReadWholeFile(OwnLogPath());
    EXPECT_NE(strLog.find("Received QEL_VIDEO_SEEK_TS message for ts index:4242"), std::string::npos) << strLog;
    const struct { std::function<void()> fnStep; const char* pszState; } kSteps[] = {
        {[] {}, "0,0,640,352"},
        {[&] { Surface().SetVisible(false); }, "hidden"},
        {[&] { Surface().SetPos({10, 20, 110, 90}); }, "10,20,110,90"},  // any layout shows it
        {[&] { Surface().GetParent()->SetVisible(false); }, "hidden"},    // so does its container
    };
    for (const auto& step : kSteps) {
        step.fnStep();
        EXPECT_EQ(::IsWindowVisible(Picture()) ? WindowRectText(Picture()) : "hidden", step.pszState);
    }
    const HWND hPicture = Picture();
    { QelVideoUI copy(Surface()); }
    EXPECT_TRUE(::IsWindow(hPicture)) << "the original still holds it";
    ASSERT_TRUE(static_cast<UiLib::CContainerUI*>(Surface().GetParent())->Remove(&Surface()));
    EXPECT_FALSE(::IsWindow(hPicture));
}

TEST_F(VideoWindowTest, ManyStopPlayCyclesAHotDotsPopupAndDestructionWhilePlayingWithItOpen) {
    std::string strExpected;
    for (int nCycle = 0; nCycle < 25; ++nCycle) {
        Click(L"btn_video_stop");
        Click(L"btn_video_play");
        strExpected += "Close Open Volume(0) Play ";
    }
    EXPECT_EQ(EngineCalls(), strExpected);
    EXPECT_EQ(Bar(), L"pause mute full | 00:00:00 / 00:00:00 | 0 | 182");

    auto& manager = m_window->Manager();
    manager.SendNotify(Find(L"video_play_slider"), L"videodothot");
    manager.SendNotify(Find(L"video_play_slider"), L"videodotkillfocus");
    PumpPending();
    EXPECT_EQ(DotPopups(m_hParent), 0) << "a dot cooling closes its pop-up";
    ::SetCursorPos(300, 300);
    for (const wchar_t* szSlider : {L"video_play_slider", L"video_play_slider", L"video_volume_slider"})
        manager.SendNotify(Find(szSlider), L"videodothot");
    PumpPending();
    const HWND hParent = std::exchange(m_hParent, nullptr);
    ASSERT_EQ(DotPopups(hParent), 1) << "a new one replaces the last; other sliders have no dots";
    RECT rc = {};
    ::GetWindowRect(::FindWindowExW(nullptr, nullptr, L"QelVideoDotPopupWidget", nullptr), &rc);
    EXPECT_EQ(std::to_string((rc.left + rc.right) / 2) + "," + std::to_string(rc.bottom), "300,280");
    ::DestroyWindow(hParent);
    m_window.reset();
    PumpPending();
    EXPECT_EQ(DotPopups(hParent), 0);
}

TEST_F(VideoWindowTest, ALoadingLineWhileOpeningOrCachingAndAFailureLineUntilTheNextStop) {
    const struct { std::function<void()> fnStep; const wchar_t* pszLine; } kSteps[] = {
        {[] {}, L""},
        {[&] { fake::ScriptParam(QEL_PARAM_STATE, QEL_STATE_CACHING); m_window->Tick(); }, L"Loading…"},
        {[&] { fake::ScriptParam(QEL_PARAM_STATE, QEL_STATE_PLAYING); m_window->Tick(); }, L""},
        {[&] { Send(QEL_VIDEO_DOWNLOAD_FAILED, 1, 7); m_window->Tick(); }, L"The video could not be downloaded."},
        {[&] { Click(L"btn_video_stop"); }, L""},
        {[&] { fake::SetOpenResult(nullptr); m_window->Play(Clip()); }, L"Loading…"},  // "started" still queued
        {[&] { PumpPending(); }, L"This video cannot be played."},
        {[&] { Click(L"btn_video_stop"); }, L""},
    };
    for (const auto& step : kSteps) {
        step.fnStep();
        EXPECT_EQ(StatusLine(), step.pszLine);
    }
}

// Sent as the system sends them, so that no real pointer moves on the shared desktop.
TEST_F(VideoWindowTest, AClickOnThePictureTakesTheKeysButNotActivation) {
    ::SetForegroundWindow(m_hParent);  // the host is active and holds the keys
    ::SetFocus(m_hParent);
    const POINT ptPicture = Centre(L"video_area");
    ::SendMessageW(Picture(), WM_LBUTTONDOWN, MK_LBUTTON, ClientPoint(ptPicture.x, ptPicture.y));
    EXPECT_EQ(::GetFocus(), Hwnd());
    EXPECT_EQ(::GetForegroundWindow(), m_hParent);
}

TEST_F(VideoWindowTest, ThePointerRestingOnAButtonShowsItsTooltipUntilItMovesOn) {
    const POINT ptMute = Centre(L"btn_video_mute");
    Send(WM_MOUSEMOVE, 0, ClientPoint(ptMute.x, ptMute.y));
    Send(WM_MOUSEHOVER, 0, ClientPoint(ptMute.x, ptMute.y));
    EXPECT_EQ(ToolTip(), L"Mute");
    Send(WM_MOUSEMOVE, 0, ClientPoint(ptMute.x, 100));  // onto the picture
    EXPECT_EQ(ToolTip(), L"");
}

}  // namespace
