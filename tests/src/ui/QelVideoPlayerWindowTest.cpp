#include "ui/QelVideoPlayerWindow.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "QelFakeEngine.h"
#include "QelUiTestSupport.h"
#include "utils/QelOS.h"
#include "video/QelMessages.h"

using namespace qel::uitest;
namespace fake = qel::fake_engine;

namespace {

// Records every hook call as one line of text, in order.
class ProbeVideoWindow : public QelVideoPlayerWindow {
public:
    ProbeVideoWindow(const wchar_t* skin) : QelVideoPlayerWindow(skin, nullptr) {}

    std::vector<std::wstring> hooks;
    size_t Count(const std::wstring& strPrefix) const {
        size_t n = 0;
        for (const auto& line : hooks) n += line.compare(0, strPrefix.size(), strPrefix) == 0 ? 1 : 0;
        return n;
    }
    HWND Parent() const { return m_hParent; }
    using QelVideoPlayerWindow::FullScreen;

protected:
    void PosChanged(const std::wstring& strTime, int nSeconds) override {
        hooks.push_back(L"PosChanged " + strTime + L" " + std::to_wstring(nSeconds));
    }
    void EndReached() override { hooks.push_back(L"EndReached"); }
    void UpdateUI() override { hooks.push_back(L"UpdateUI"); }
    void UpdateVideoDuration() override { hooks.push_back(L"UpdateVideoDuration"); }
    void UpdateRendArea(int x, int y, int cx, int cy) override {
        hooks.push_back(L"UpdateRendArea " + std::to_wstring(x) + L"," + std::to_wstring(y) + L"," +
                        std::to_wstring(cx) + L"," + std::to_wstring(cy));
    }
};

constexpr const wchar_t* kPlainSkin = LR"(<?xml version="1.0" encoding="utf-8"?>
<Window size="400,300"><VerticalLayout bkcolor="#FF000000" /></Window>
)";

std::string ReadLogText() {
    wchar_t szPath[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    std::wstring strPath = szPath;
    strPath = strPath.substr(0, strPath.find_last_of(L"\\/") + 1) + L"logs\\QelMediaPlayer.log";
    std::string strText;
    if (FILE* pFile = _wfopen(strPath.c_str(), L"rb")) {
        char buf[4096];
        size_t n = 0;
        while ((n = fread(buf, 1, sizeof(buf), pFile)) > 0) strText.append(buf, n);
        fclose(pFile);
    }
    return strText;
}

const fake::Call* LastCall(const std::vector<fake::Call>& calls, const std::string& strName) {
    for (auto it = calls.rbegin(); it != calls.rend(); ++it)
        if (it->strName == strName) return &*it;
    return nullptr;
}

class VideoPlayerWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        UiLib::CDPI::SetMainMonitorDPIOverride(96);
        fake::Reset();
        m_skins.WriteText(L"video/plain.xml", std::wstring(kPlainSkin));
        m_skins.WriteText(L"clip.mp4", std::string("not really a video"));
        m_strClip = m_skins.Path();
        if (m_strClip.back() != L'\\') m_strClip += L'\\';
        m_strClip += L"clip.mp4";
        m_hParent = ::CreateWindowExW(0, L"STATIC", L"qel-video-parent", WS_POPUP | WS_VISIBLE, 30, 30, 400, 300,
                                      nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(m_hParent, nullptr);
        m_window = std::make_unique<ProbeVideoWindow>(L"video/plain.xml");
        ASSERT_NE(m_window->Create(m_hParent, L"video", WS_CHILD | WS_VISIBLE, 0, RECT{0, 0, 400, 300}), nullptr);
        ::UpdateWindow(m_window->GetHWND());
        ASSERT_TRUE(PumpUntil([this] { return m_window->Parent() != nullptr; }));
        m_window->hooks.clear();
    }
    void TearDown() override {
        if (m_window) {
            m_window->Stop();
            if (::IsWindow(m_window->GetHWND())) ::DestroyWindow(m_window->GetHWND());
            m_window.reset();
        }
        if (m_hParent) ::DestroyWindow(m_hParent);
        UiLib::CDPI::SetMainMonitorDPIOverride(0);
    }
    HWND Hwnd() const { return m_window->GetHWND(); }
    LRESULT Send(UINT uMsg, WPARAM wParam = 0, LPARAM lParam = 0) {
        return ::SendMessageW(Hwnd(), uMsg, wParam, lParam);
    }
    // Plays the clip and forgets what that did, so each case sees its own calls only.
    void StartPlaying() {
        m_window->Play(m_strClip);
        ASSERT_TRUE(m_window->IsPlaying());
        fake::Reset();
        m_window->hooks.clear();
    }

    TempSkinFolder m_skins;
    std::wstring m_strClip;
    HWND m_hParent = nullptr;
    std::unique_ptr<ProbeVideoWindow> m_window;
};

TEST_F(VideoPlayerWindowTest, PlayWithAnEmptyPathStartsNothing) {
    m_window->Play(L"");
    EXPECT_EQ(fake::CallNames(), "");
    EXPECT_TRUE(m_window->hooks.empty());
    EXPECT_FALSE(::KillTimer(Hwnd(), QelVideoPlayerWindow::kPositionTimerId)) << "no position timer";
}

TEST_F(VideoPlayerWindowTest, PlayOpensThenASecondPlayResumesWithTwoUpdates) {
    m_window->Play(m_strClip);
    EXPECT_EQ(fake::CallNames().compare(0, 4, "Open"), 0) << fake::CallNames();
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 1u);
    EXPECT_TRUE(::KillTimer(Hwnd(), QelVideoPlayerWindow::kPositionTimerId)) << "position timer running";

    fake::Reset();
    m_window->hooks.clear();
    m_window->Play(m_strClip);
    EXPECT_EQ(fake::CallNames(), "Play");
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 2u);
}

struct SeekCase {
    const char* szWhat;
    long long llPosition;
    int nAction;  // 0 Backward, 1 Forward, 2 Seek(nSeconds)
    int nSeconds;
    long long llExpected;
};

class VideoPlayerSeekTest : public VideoPlayerWindowTest, public ::testing::WithParamInterface<SeekCase> {};

TEST_P(VideoPlayerSeekTest, SeeksWhereTheButtonsSayAndClampsAtBothEnds) {
    fake::ScriptParam(QEL_PARAM_DURATION, 60000);
    StartPlaying();
    fake::ScriptParam(QEL_PARAM_POSITION, GetParam().llPosition);
    if (GetParam().nAction == 0) m_window->Backward();
    if (GetParam().nAction == 1) m_window->Forward();
    if (GetParam().nAction == 2) m_window->Seek(GetParam().nSeconds);
    const auto calls = fake::Calls();
    const fake::Call* pSeek = LastCall(calls, "Seek");
    ASSERT_NE(pSeek, nullptr) << GetParam().szWhat;
    EXPECT_EQ(pSeek->args.at(1), GetParam().llExpected) << GetParam().szWhat;
}

INSTANTIATE_TEST_SUITE_P(Cases, VideoPlayerSeekTest,
                         ::testing::Values(SeekCase{"back from 3 s stops at 0", 3000, 0, 0, 0},
                                           SeekCase{"back from 25 s", 25000, 0, 0, 15000},
                                           SeekCase{"on from 55 s stops at the end", 55000, 1, 0, 60000},
                                           SeekCase{"on from 20 s", 20000, 1, 0, 30000},
                                           SeekCase{"seek in seconds", 0, 2, 42, 42000}));

TEST_F(VideoPlayerWindowTest, VolumeIsShiftedBy182AndUnmutingKeepsTheOldAsymmetry) {
    EXPECT_EQ(m_window->GetAudioVolume(), 182);
    m_window->SetAudioVolume(100);
    EXPECT_EQ(m_window->GetAudioVolume(), 100);
    m_window->SetAudioVolume(182);
    m_window->Mute(true);
    EXPECT_EQ(m_window->GetAudioVolume(), 0);
    m_window->Mute(false);
    EXPECT_EQ(m_window->GetAudioVolume(), 364);
}

TEST_F(VideoPlayerWindowTest, TimeTextHasTwoDigitFieldsAndHoursWrapAt60) {
    EXPECT_EQ(QelVideoPlayerWindow::FormatTimeText(0, 0), L"00:00:00 / 00:00:00");
    EXPECT_EQ(QelVideoPlayerWindow::FormatTimeText(3725000, 360000000LL), L"01:02:05 / 40:00:00");
    EXPECT_EQ(QelVideoPlayerWindow::FormatTimeText(3599999, 215999000LL), L"00:59:59 / 59:59:59");
    // -1 s as unsigned: 18446744073709551615 s.
    EXPECT_EQ(QelVideoPlayerWindow::FormatTimeText(-1000, 0), L"31:00:15 / 00:00:00");
}

TEST_F(VideoPlayerWindowTest, PositionTimerTicksOnlyWhilePlaying) {
    fake::ScriptParam(QEL_PARAM_DURATION, 360000000LL);
    m_window->Play(m_strClip);
    fake::ScriptParam(QEL_PARAM_POSITION, 3725000);
    m_window->hooks.clear();
    EXPECT_EQ(Send(WM_TIMER, QelVideoPlayerWindow::kPositionTimerId), 0);
    ASSERT_EQ(m_window->hooks.size(), 1u);
    EXPECT_EQ(m_window->hooks[0], L"PosChanged 01:02:05 / 40:00:00 3725");

    m_window->Pause();
    m_window->hooks.clear();
    Send(WM_TIMER, QelVideoPlayerWindow::kPositionTimerId);
    EXPECT_EQ(m_window->Count(L"PosChanged"), 0u);
}

TEST_F(VideoPlayerWindowTest, SizeRunsTwiceThroughTheFallBack) {
    Send(WM_SIZE, SIZE_RESTORED, MAKELPARAM(200, 120));
    ASSERT_EQ(m_window->hooks.size(), 2u);
    EXPECT_EQ(m_window->hooks[0], L"UpdateRendArea 0,0,200,120");
    EXPECT_EQ(m_window->hooks[1], L"UpdateRendArea 0,0,200,120");
    m_window->hooks.clear();
    Send(WM_SIZE, SIZE_MINIMIZED, 0);
    EXPECT_TRUE(m_window->hooks.empty());
}

TEST_F(VideoPlayerWindowTest, EscapeOutsideFullScreenIsSwallowedAndChangesNothing) {
    EXPECT_EQ(Send(WM_KEYDOWN, VK_ESCAPE), 0);
    EXPECT_TRUE(m_window->hooks.empty());
    EXPECT_FALSE(m_window->IsFullscreen());
    EXPECT_EQ(::GetParent(Hwnd()), m_hParent);
}

struct MessageCase {
    const char* szWhat;
    UINT uMsg;
    WPARAM wParam;
    const char* szEngineCalls;
    std::vector<std::wstring> hooks;
    bool bPlayingAfter;
};

class VideoPlayerMessageTest : public VideoPlayerWindowTest, public ::testing::WithParamInterface<MessageCase> {};

TEST_P(VideoPlayerMessageTest, ComponentMessagesWhilePlaying) {
    StartPlaying();
    EXPECT_EQ(Send(GetParam().uMsg, GetParam().wParam), 0) << GetParam().szWhat;
    EXPECT_EQ(fake::CallNames(), GetParam().szEngineCalls) << GetParam().szWhat;
    EXPECT_EQ(m_window->hooks, GetParam().hooks) << GetParam().szWhat;
    EXPECT_EQ(m_window->IsPlaying(), GetParam().bPlayingAfter) << GetParam().szWhat;
}

INSTANTIATE_TEST_SUITE_P(
    Cases, VideoPlayerMessageTest,
    ::testing::Values(
        MessageCase{"end stops the manager only", QEL_VIDEO_PLAYER_EVENT, QEL_VIDEO_EVENT_END, "Close", {L"EndReached"},
                    false},
        MessageCase{"another event is ignored", QEL_VIDEO_PLAYER_EVENT, 0x50415553, "", {}, true},
        MessageCase{"started refreshes the duration", QEL_VIDEO_STARTED, 0, "", {L"UpdateVideoDuration"}, true},
        MessageCase{"double click pauses", QEL_VIDEO_WINDOW_DBCLICK, 0, "Pause", {L"UpdateUI", L"UpdateUI"}, false},
        MessageCase{"stop request", QEL_VIDEO_STOP_REQUEST, 0, "Close", {L"UpdateUI"}, false},
        MessageCase{"play request resumes", QEL_VIDEO_PLAY_REQUEST, 0, "Play", {L"UpdateUI", L"UpdateUI"}, true}));

TEST_F(VideoPlayerWindowTest, DoubleClickWhilePausedResumes) {
    StartPlaying();
    m_window->Pause();
    fake::Reset();
    m_window->hooks.clear();
    Send(QEL_VIDEO_WINDOW_DBCLICK);
    EXPECT_EQ(fake::CallNames(), "Play");
    EXPECT_TRUE(m_window->IsPlaying());
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 2u);
}

TEST_F(VideoPlayerWindowTest, SeekToASegmentIsLoggedAndPassedOn) {
    StartPlaying();
    EXPECT_EQ(Send(QEL_VIDEO_SEEK_TS, 4242), 0);
    EXPECT_NE(ReadLogText().find("Received QEL_VIDEO_SEEK_TS message for ts index:4242"), std::string::npos);
    // A plain file has no segments to fetch: the engine is not involved.
    EXPECT_EQ(fake::CallNames(), "");
}

TEST_F(VideoPlayerWindowTest, FullScreenLeavesTheParentAndComesBackToItsClientArea) {
    const SIZE szScreen = QelOS::GetScreenSize();
    m_window->FullScreen(true);
    EXPECT_TRUE(m_window->IsFullscreen());
    EXPECT_EQ(::GetAncestor(Hwnd(), GA_PARENT), ::GetDesktopWindow());
    EXPECT_NE(::GetWindowLongPtrW(Hwnd(), GWL_EXSTYLE) & WS_EX_TOPMOST, 0);
    EXPECT_NE(::GetWindowLongPtrW(Hwnd(), GWL_STYLE) & WS_POPUP, 0);
    RECT rc = {};
    ::GetWindowRect(Hwnd(), &rc);
    EXPECT_EQ(rc.right - rc.left, szScreen.cx);
    EXPECT_EQ(rc.bottom - rc.top, szScreen.cy);
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 1u);

    m_window->FullScreen(true);
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 1u) << "same state again does nothing";

    m_window->hooks.clear();
    // Escape is the user's way back.
    EXPECT_EQ(Send(WM_KEYDOWN, VK_ESCAPE), 0);
    EXPECT_FALSE(m_window->IsFullscreen());
    EXPECT_EQ(::GetParent(Hwnd()), m_hParent);
    EXPECT_NE(::GetWindowLongPtrW(Hwnd(), GWL_STYLE) & WS_CHILD, 0);
    RECT rcParent = {};
    ::GetClientRect(m_hParent, &rcParent);
    ::GetWindowRect(Hwnd(), &rc);
    ::MapWindowPoints(nullptr, m_hParent, reinterpret_cast<POINT*>(&rc), 2);
    EXPECT_TRUE(::EqualRect(&rc, &rcParent));
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 1u);

    m_window->FullScreen(false);
    EXPECT_EQ(m_window->Count(L"UpdateUI"), 1u);
}

}  // namespace
