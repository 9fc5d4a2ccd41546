#include "ui/QelMediaBaseWindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "QelUiTestSupport.h"
#include "QelUiTestWindow.h"

using namespace qel::uitest;

namespace {

// 400 x 300 with a 4/4/6/6 size box and a caption from x 10 to 380 (20 short of the right
// edge), y 5 to 40. The root takes no mouse input, so where no other control lies the
// point is over no control at all. Two bars lie under the caption, with a label, a button,
// a text and an option on the left one.
const wchar_t kHitTestSkin[] = LR"(<?xml version="1.0" encoding="utf-8"?>
<Window size="400,300" caption="10,5,20,40" sizebox="4,4,6,6">
  <VerticalLayout name="root" mouse="false">
    <HorizontalLayout name="left_bar" float="true" pos="4,0,300,60">
      <Label name="caption_label" float="true" pos="26,10,66,30" />
      <Button name="caption_button" float="true" pos="76,10,116,30" />
      <Text name="caption_text" float="true" pos="126,10,166,30" />
      <Option name="caption_option" float="true" pos="176,10,216,30" />
    </HorizontalLayout>
    <HorizontalLayout name="right_bar" float="true" pos="360,0,396,60" />
    <Recorder name="recorder" float="true" pos="100,100,200,200" />
  </VerticalLayout>
</Window>
)";

const int kLeft = 100;
const int kTop = 80;
const int kWidth = 400;
const int kHeight = 300;

class BaseWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        UiLib::CDPI::SetMainMonitorDPIOverride(96);
        m_skins.WriteText(L"base/hittest.xml", kHitTestSkin);
    }
    void TearDown() override { UiLib::CDPI::SetMainMonitorDPIOverride(0); }

    std::unique_ptr<TestPlayerWindow> Open(DWORD dwStyle = WS_POPUP | WS_VISIBLE, bool bScaleDpi = true) {
        auto window = std::make_unique<TestPlayerWindow>(L"base/hittest.xml", bScaleDpi);
        EXPECT_NE(window->CreateAt(kLeft, kTop, kWidth, kHeight, dwStyle), nullptr);
        PumpPending();
        return window;
    }

    TempSkinFolder m_skins;
};

RECT WindowRect(HWND hWnd) {
    RECT rc = {};
    ::GetWindowRect(hWnd, &rc);
    return rc;
}

::testing::AssertionResult SameRect(const RECT& actual, const RECT& expected) {
    if (::EqualRect(&actual, &expected)) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "(" << actual.left << "," << actual.top << "," << actual.right << ","
                                         << actual.bottom << ") instead of (" << expected.left << "," << expected.top
                                         << "," << expected.right << "," << expected.bottom << ")";
}

struct HitCase {
    int x;
    int y;
    LRESULT nExpected;
    const char* pszWhy;
};

// Client points of the 400 x 300 window: left border x < 4, right x > 394, top y < 4,
// bottom y > 294; caption x in [10, 380), y in [5, 40).
const HitCase kRestoredHits[] = {
    {0, 0, HTTOPLEFT, "corner"},
    {3, 3, HTTOPLEFT, "last pixel of the top-left corner"},
    {4, 3, HTTOP, "x on left + size box is no longer the left border"},
    {394, 3, HTTOP, "x on right - size box is not yet the right border"},
    {395, 3, HTTOPRIGHT, "first pixel of the top-right corner"},
    {3, 4, HTLEFT, "y on top + size box is no longer the top border"},
    {0, 150, HTLEFT, "left border"},
    {4, 150, HTCLIENT, "just inside the left border"},
    {394, 150, HTCLIENT, "just inside the right border"},
    {395, 150, HTRIGHT, "right border"},
    {3, 294, HTLEFT, "y on bottom - size box is not yet the bottom border"},
    {3, 295, HTBOTTOMLEFT, "bottom-left corner"},
    {200, 295, HTBOTTOM, "bottom border"},
    {394, 295, HTBOTTOM, "bottom border next to the corner"},
    {399, 299, HTBOTTOMRIGHT, "bottom-right corner"},
    {50, 20, HTCAPTION, "label in the caption"},
    {100, 20, HTCLIENT, "button in the caption"},
    {150, 20, HTCLIENT, "text in the caption"},
    {200, 20, HTCLIENT, "option in the caption"},
    {250, 20, HTCAPTION, "layout in the caption"},
    {330, 20, HTCLIENT, "no control under the caption"},
    {9, 20, HTCLIENT, "left of the caption, over the layout"},
    {10, 20, HTCAPTION, "caption's left edge is inside (>=)"},
    {379, 20, HTCAPTION, "last caption column"},
    {380, 20, HTCLIENT, "right - caption.right is outside (<)"},
    {250, 4, HTCLIENT, "above the caption, below the size box"},
    {250, 5, HTCAPTION, "caption's top edge is inside (>=)"},
    {250, 39, HTCAPTION, "last caption row"},
    {250, 40, HTCLIENT, "caption's bottom edge is outside (<)"},
    {150, 150, HTCLIENT, "client area"},
};

TEST_F(BaseWindowTest, HitTestsARestoredWindowByTheSizeBoxAndCaptionEdges) {
    auto window = Open();
    for (const HitCase& c : kRestoredHits) {
        const LRESULT nHit = ::SendMessageW(*window, WM_NCHITTEST, 0, ScreenPoint(*window, c.x, c.y));
        EXPECT_EQ(nHit, c.nExpected) << "(" << c.x << "," << c.y << ") " << c.pszWhy;
    }
}

TEST_F(BaseWindowTest, AMaximisedWindowHasNoResizeBorderButKeepsItsCaption) {
    auto window = Open();
    window->MaxWindow();
    ASSERT_TRUE(::IsZoomed(*window));
    const HitCase kMaximisedHits[] = {
        {0, 0, HTCLIENT, "corner"},
        {1, 150, HTCLIENT, "left edge"},
        {50, 20, HTCAPTION, "label in the caption"},
        {100, 20, HTCLIENT, "button in the caption"},
    };
    for (const HitCase& c : kMaximisedHits) {
        const LRESULT nHit = ::SendMessageW(*window, WM_NCHITTEST, 0, ScreenPoint(*window, c.x, c.y));
        EXPECT_EQ(nHit, c.nExpected) << "(" << c.x << "," << c.y << ") " << c.pszWhy;
    }
}

struct DpiCase {
    int nMonitor;
    int nExpected;
};

TEST_F(BaseWindowTest, DpiUpTo120CountsAsUnscaled) {
    const DpiCase kCases[] = {{72, 96}, {96, 96}, {119, 96}, {120, 96}, {121, 121}, {144, 144}, {192, 192}};
    for (const DpiCase& c : kCases) {
        UiLib::CDPI::SetMainMonitorDPIOverride(c.nMonitor);
        EXPECT_EQ(UiLib::QelMediaBaseWindow::GetDpi(), c.nExpected) << "monitor at " << c.nMonitor;
    }
}

struct SkinDpiCase {
    int nMonitor;
    bool bScaleDpi;
    int nSkinDpi;
};

TEST_F(BaseWindowTest, CreationAppliesTheDpiRuleOnlyWhenAskedTo) {
    const SkinDpiCase kCases[] = {
        {96, true, 96}, {120, true, 96}, {144, true, 144}, {144, false, 96}, {192, true, 192},
    };
    for (const SkinDpiCase& c : kCases) {
        UiLib::CDPI::SetMainMonitorDPIOverride(c.nMonitor);
        auto window = Open(WS_POPUP | WS_VISIBLE, c.bScaleDpi);
        EXPECT_EQ(window->Manager().GetDPI(), c.nSkinDpi) << "monitor " << c.nMonitor << " scale " << c.bScaleDpi;
    }
}

// Leaves a strip at the bottom of the primary screen out of the work area, as a taskbar
// would, so that a maximised window is told apart from one covering the whole screen.
class ShrunkenWorkArea {
public:
    ShrunkenWorkArea() {
        ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &m_rcSaved, 0);
        RECT rc = {0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN) - 48};
        m_bSet = ::SystemParametersInfoW(SPI_SETWORKAREA, 0, &rc, 0) != FALSE;
    }
    ~ShrunkenWorkArea() {
        if (m_bSet) ::SystemParametersInfoW(SPI_SETWORKAREA, 0, &m_rcSaved, 0);
    }
    ShrunkenWorkArea(const ShrunkenWorkArea&) = delete;
    ShrunkenWorkArea& operator=(const ShrunkenWorkArea&) = delete;

private:
    RECT m_rcSaved = {};
    bool m_bSet = false;
};

TEST_F(BaseWindowTest, MaximiseRestoreAndMinimiseRoundTrips) {
    ShrunkenWorkArea workArea;
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    ::GetMonitorInfoW(::MonitorFromPoint(POINT{0, 0}, MONITOR_DEFAULTTOPRIMARY), &info);
    const RECT rcWork = info.rcWork;
    // (Under Wine the work area stays the whole screen; the steps hold either way.)

    struct Step {
        const char* pszName;
        void (TestPlayerWindow::*pfn)();
        bool bZoomed;
        bool bIconic;
        bool bAtStart;  // else at the work area (when zoomed)
    };
    const Step kSteps[] = {
        {"max", &TestPlayerWindow::MaxWindow, true, false, false},
        {"max again", &TestPlayerWindow::MaxWindow, true, false, false},
        {"restore", &TestPlayerWindow::RestoreWindow, false, false, true},
        {"restore again", &TestPlayerWindow::RestoreWindow, false, false, true},
        {"toggle to max", &TestPlayerWindow::MaxOrRestroeWindow, true, false, false},
        {"toggle back", &TestPlayerWindow::MaxOrRestroeWindow, false, false, true},
        {"min", &TestPlayerWindow::MinWindow, false, true, false},
        {"restore leaves a minimised window alone", &TestPlayerWindow::RestoreWindow, false, true, false},
    };
    // A frameless pop-up and a window whose style asks for a frame: the frame is never drawn.
    for (DWORD dwStyle : {DWORD{WS_POPUP | WS_VISIBLE}, DWORD{WS_OVERLAPPEDWINDOW | WS_VISIBLE}}) {
        auto window = Open(dwStyle);
        const RECT rcStart = WindowRect(*window);
        RECT rcClient = {};
        ::GetClientRect(*window, &rcClient);
        EXPECT_EQ(rcClient.right, kWidth) << "style " << std::hex << dwStyle;
        EXPECT_EQ(rcClient.bottom, kHeight) << "style " << std::hex << dwStyle;
        for (const Step& step : kSteps) {
            ((*window).*step.pfn)();
            PumpPending();
            const std::string strWhere = std::string(step.pszName) + ", style " + std::to_string(dwStyle);
            EXPECT_EQ(::IsZoomed(*window) != FALSE, step.bZoomed) << strWhere;
            EXPECT_EQ(::IsIconic(*window) != FALSE, step.bIconic) << strWhere;
            if (step.bZoomed) {
                EXPECT_TRUE(SameRect(WindowRect(*window), rcWork)) << strWhere;
                // The whole window is client area, the work area's size.
                ::GetClientRect(*window, &rcClient);
                EXPECT_EQ(rcClient.right, rcWork.right - rcWork.left) << strWhere;
                EXPECT_EQ(rcClient.bottom, rcWork.bottom - rcWork.top) << strWhere;
            }
            if (step.bAtStart) {
                EXPECT_TRUE(SameRect(WindowRect(*window), rcStart)) << strWhere;
            }
        }
    }
}

TEST_F(BaseWindowTest, MaximisedSizeAndClientAreaComeFromTheWorkArea) {
    auto window = Open(WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    ::GetMonitorInfoW(::MonitorFromWindow(*window, MONITOR_DEFAULTTOPRIMARY), &info);
    RECT rcWork = info.rcWork;
    ::OffsetRect(&rcWork, -info.rcMonitor.left, -info.rcMonitor.top);

    // The maximised position and size are the work area's corners; tracking sizes stay.
    MINMAXINFO mmi = {};
    mmi.ptMaxPosition = POINT{-7, -7};
    mmi.ptMaxSize = POINT{7, 7};
    mmi.ptMinTrackSize = POINT{11, 12};
    mmi.ptMaxTrackSize = POINT{13, 14};
    ::SendMessageW(*window, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&mmi));
    EXPECT_EQ(mmi.ptMaxPosition.x, rcWork.left);
    EXPECT_EQ(mmi.ptMaxPosition.y, rcWork.top);
    EXPECT_EQ(mmi.ptMaxSize.x, rcWork.right);
    EXPECT_EQ(mmi.ptMaxSize.y, rcWork.bottom);
    EXPECT_EQ(mmi.ptMinTrackSize.x, 11);
    EXPECT_EQ(mmi.ptMaxTrackSize.y, 14);

    // Restored, the proposed rectangle is the client area as it stands: no frame.
    RECT rcProposed = {5, 6, 305, 206};
    EXPECT_EQ(::SendMessageW(*window, WM_NCCALCSIZE, FALSE, reinterpret_cast<LPARAM>(&rcProposed)), 0);
    EXPECT_TRUE(SameRect(rcProposed, RECT{5, 6, 305, 206}));
    // Maximised, it becomes the work area with the monitor's corner as origin.
    window->MaxWindow();
    ASSERT_TRUE(::IsZoomed(*window));
    NCCALCSIZE_PARAMS params = {};
    params.rgrc[0] = RECT{-8, -8, 2000, 2000};
    EXPECT_EQ(::SendMessageW(*window, WM_NCCALCSIZE, TRUE, reinterpret_cast<LPARAM>(&params)), 0);
    EXPECT_TRUE(SameRect(params.rgrc[0], rcWork));
}

TEST_F(BaseWindowTest, OperationsOnAWindowWithoutHandleDoNothing) {
    TestPlayerWindow window(L"base/hittest.xml");
    window.MaxWindow();
    window.MinWindow();
    window.RestoreWindow();
    window.MaxOrRestroeWindow();
    window.SwitchFullscreen();
    EXPECT_FALSE(window.IsFullscreen());
    UiLib::QelMediaBaseWindow::SetFullscreen(nullptr);
}

TEST_F(BaseWindowTest, FullScreenSwitchRoundTrips) {
    auto window = Open();
    const RECT rcStart = WindowRect(*window);
    const SIZE szScreen = UiLib::QelMediaBaseWindow::GetScreenSize();
    EXPECT_EQ(szScreen.cx, ::GetSystemMetrics(SM_CXSCREEN));
    EXPECT_EQ(szScreen.cy, ::GetSystemMetrics(SM_CYSCREEN));
    const RECT rcScreen = {0, 0, szScreen.cx, szScreen.cy};

    for (int nRound = 0; nRound < 2; ++nRound) {
        EXPECT_FALSE(window->IsFullscreen());
        window->SwitchFullscreen();
        EXPECT_TRUE(window->IsFullscreen());
        EXPECT_TRUE(SameRect(WindowRect(*window), rcScreen)) << "round " << nRound;
        window->SwitchFullscreen();
        EXPECT_FALSE(window->IsFullscreen());
        EXPECT_TRUE(SameRect(WindowRect(*window), rcStart)) << "round " << nRound;
    }

    // The static form only sizes the window; the object's state stays as it was.
    UiLib::QelMediaBaseWindow::SetFullscreen(*window);
    EXPECT_TRUE(SameRect(WindowRect(*window), rcScreen));
    EXPECT_FALSE(window->IsFullscreen());
}

TEST_F(BaseWindowTest, EveryResizeSetsARegionRoundedByTheSkin) {
    m_skins.WriteText(L"base/round.xml", LR"(<Window size="400,300" roundcorner="16,16"><VerticalLayout /></Window>)");
    m_skins.WriteText(L"base/square.xml", LR"(<Window size="400,300"><VerticalLayout /></Window>)");
    struct Case {
        const wchar_t* pszSkin;
        bool bCornerInRegion;
    };
    for (const Case& c : {Case{L"base/round.xml", false}, Case{L"base/square.xml", true}}) {
        TestPlayerWindow window(c.pszSkin);
        ASSERT_NE(window.CreateAt(kLeft, kTop, kWidth, kHeight), nullptr);
        PumpPending();
        HRGN hRgn = ::CreateRectRgn(0, 0, 0, 0);
        ASSERT_NE(::GetWindowRgn(window, hRgn), ERROR);
        EXPECT_EQ(::PtInRegion(hRgn, 0, 0) != FALSE, c.bCornerInRegion);
        EXPECT_TRUE(::PtInRegion(hRgn, 200, 150));
        EXPECT_FALSE(::PtInRegion(hRgn, 450, 150));

        ::SetWindowPos(window, nullptr, 0, 0, 500, 350, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        ASSERT_NE(::GetWindowRgn(window, hRgn), ERROR);
        EXPECT_TRUE(::PtInRegion(hRgn, 450, 150)) << "the region follows the new size";
        EXPECT_EQ(::PtInRegion(hRgn, 0, 0) != FALSE, c.bCornerInRegion);
        ::DeleteObject(hRgn);
    }
}

TEST_F(BaseWindowTest, NotificationsReachTheirHandlers) {
    auto window = Open();
    ASSERT_TRUE(PumpUntil([&] { return window->m_nInitWindow == 1; }));
    EXPECT_EQ(window->m_nInit, 1);

    // A real click on the button: press and release over it.
    ::SendMessageW(*window, WM_MOUSEMOVE, 0, ClientPoint(100, 20));
    ::SendMessageW(*window, WM_LBUTTONDOWN, MK_LBUTTON, ClientPoint(100, 20));
    ::SendMessageW(*window, WM_LBUTTONUP, 0, ClientPoint(100, 20));
    ASSERT_TRUE(PumpUntil([&] { return !window->m_vecClicks.empty(); }));
    EXPECT_EQ(window->m_vecClicks, std::vector<std::wstring>{L"caption_button"});

    // The option also reports its selection, which is not a click.
    ::SendMessageW(*window, WM_MOUSEMOVE, 0, ClientPoint(200, 20));
    ::SendMessageW(*window, WM_LBUTTONDOWN, MK_LBUTTON, ClientPoint(200, 20));
    ::SendMessageW(*window, WM_LBUTTONUP, 0, ClientPoint(200, 20));
    ASSERT_TRUE(PumpUntil([&] { return window->m_vecClicks.size() == 2; }));
    PumpPending();
    EXPECT_EQ(window->m_vecClicks.back(), L"caption_option");
    EXPECT_EQ(window->m_notified.Count(DUI_MSGTYPE_SELECTCHANGED), 1u);
    EXPECT_EQ(std::count(window->m_vecOthers.begin(), window->m_vecOthers.end(), DUI_MSGTYPE_SELECTCHANGED), 1);
    EXPECT_EQ(window->m_notified.Count(DUI_MSGTYPE_WINDOWINIT), 1u);
}

TEST_F(BaseWindowTest, EnterAndEscapeNeverReachTheFocusedControl) {
    auto window = Open();
    auto* pRecorder = window->Find<RecordingControl>(L"recorder");
    ASSERT_NE(pRecorder, nullptr);
    window->Manager().SetFocus(pRecorder);
    pRecorder->m_vecEvents.clear();

    struct Key {
        WPARAM vk;
        bool bReaches;
    };
    for (const Key& key : {Key{VK_RETURN, false}, Key{VK_ESCAPE, false}, Key{VK_SPACE, true}, Key{'A', true}}) {
        const size_t nBefore = pRecorder->m_vecEvents.size();
        const LRESULT lRes = ::SendMessageW(*window, WM_KEYDOWN, key.vk, 0);
        const bool bReached = std::count(pRecorder->m_vecEvents.begin() + static_cast<long>(nBefore),
                                         pRecorder->m_vecEvents.end(), UiLib::UIEVENT_KEYDOWN) > 0;
        EXPECT_EQ(bReached, key.bReaches) << "key " << key.vk;
        if (!key.bReaches) {
            EXPECT_EQ(lRes, 0);
        }
    }
}

TEST_F(BaseWindowTest, TheCloseCommandClosesThroughWmClose) {
    auto window = Open();
    ::SendMessageW(*window, WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_EQ(window->m_nClose, 1);
    EXPECT_FALSE(::IsWindow(*window)) << "default handling of WM_CLOSE destroys the window";
    // The object outlives its handle.
    EXPECT_EQ(window->GetSkinFile().Str(), L"base/hittest.xml");
}

}  // namespace
