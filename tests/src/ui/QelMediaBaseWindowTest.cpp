// The frameless base window under Wine: hit testing, maximising to the work area, the DPI
// rule, keys and closing. The player windows' tests use its routing of notifications.
#include "ui/QelMediaBaseWindow.h"

#include "QelUiTestSupport.h"

using namespace qel::test;

namespace {

// 400 x 300 with a 4/4/6/6 size box and a caption from x 10 to 380, y 5 to 40. The root
// takes no mouse input, so at x 330 the caption is over no control.
const wchar_t kSkin[] = LR"(<Window size="400,300" caption="10,5,20,40" sizebox="4,4,6,6">
  <VerticalLayout mouse="false"><HorizontalLayout float="true" pos="4,0,300,60">
    <Label float="true" pos="26,10,66,30" /><Button name="button" float="true" pos="76,10,116,30" />
    <Text float="true" pos="126,10,166,30" /><Option name="option" float="true" pos="176,10,216,30" />
  </HorizontalLayout><RecordingLayout name="keys" float="true" pos="100,100,200,200" /></VerticalLayout></Window>)";

// The base window with a RecordingLayout and its protected operations open.
class TestPlayerWindow : public UiLib::QelMediaBaseWindow {
public:
    using QelMediaBaseWindow::QelMediaBaseWindow;
    ~TestPlayerWindow() override {
        if (::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
    }
    using QelMediaBaseWindow::MaxOrRestroeWindow;
    using QelMediaBaseWindow::MaxWindow;
    UiLib::CPaintManagerUI& Manager() { return m_PaintManager; }
    UiLib::CControlUI* CreateControl(const wchar_t* szClass) override {
        return std::wstring(szClass) == L"RecordingLayout" ? new RecordingLayout : nullptr;
    }
};

class BaseWindowTest : public ::testing::Test {
protected:
    BaseWindowTest() { m_skins.WriteText(L"skin.xml", kSkin); }
    // A shown 400 x 300 top-level window at (100, 80) on kSkin; "windowinit" has run.
    std::unique_ptr<TestPlayerWindow> OpenSkin(DWORD dwStyle = WS_POPUP | WS_VISIBLE, bool bScaleDpi = true) {
        auto window = std::make_unique<TestPlayerWindow>(L"skin.xml", bScaleDpi);
        EXPECT_NE(window->Create(nullptr, L"qel-test-player", dwStyle, 0, RECT{100, 80, 500, 380}), nullptr);
        Repaint(*window);
        return window;
    }

    ScopedDpiOverride m_dpi{96};
    TempSkinFolder m_skins;
};

TEST_F(BaseWindowTest, HasNoFrameHitTestsBySizeBoxAndCaptionEdgesAndMaximisesToTheWorkAreaWithoutBorder) {
    // Borders where x < 4, x > 394, y < 4, y > 294, none when maximised. The caption, x in
    // [10, 380) and y in [5, 40), drags over a label or a layout, never over a button, a
    // text, an option or no control.
    const struct { int x, y; LRESULT nRestored, nMaximised; } kRows[] = {
        {0, 0, HTTOPLEFT, HTCLIENT},     {4, 3, HTTOP, HTCLIENT},        {394, 3, HTTOP, HTCLIENT},
        {395, 3, HTTOPRIGHT, HTCLIENT},  {3, 4, HTLEFT, HTCLIENT},       {395, 150, HTRIGHT, HTCLIENT},
        {3, 295, HTBOTTOMLEFT, HTCLIENT}, {200, 295, HTBOTTOM, HTCLIENT}, {399, 299, HTBOTTOMRIGHT, HTCLIENT},
        {50, 20, HTCAPTION, HTCAPTION},  {100, 20, HTCLIENT, HTCLIENT},  {150, 20, HTCLIENT, HTCLIENT},
        {200, 20, HTCLIENT, HTCLIENT},   {330, 20, HTCLIENT, HTCLIENT},  {10, 20, HTCAPTION, HTCAPTION},
        {380, 20, HTCLIENT, HTCLIENT},   {250, 5, HTCAPTION, HTCAPTION}, {250, 40, HTCLIENT, HTCLIENT},
    };
    TestPlayerWindow(L"none.xml", true).MaxWindow();  // nothing happens without a handle
    // A style that asks for a frame gets none: the whole window is client area, and
    // maximised it is the work area.
    auto window = OpenSkin(WS_OVERLAPPEDWINDOW | WS_VISIBLE);
    MONITORINFO info = {sizeof(info), {}, {}, 0};
    ::GetMonitorInfoW(::MonitorFromWindow(*window, MONITOR_DEFAULTTOPRIMARY), &info);
    for (bool bMaximised : {false, true}) {
        if (bMaximised) window->MaxWindow();
        RECT rcClient = {};
        ::GetClientRect(*window, &rcClient);
        ::MapWindowPoints(*window, nullptr, reinterpret_cast<POINT*>(&rcClient), 2);
        EXPECT_EQ(RectText(rcClient), bMaximised ? RectText(info.rcWork) : "100,80,500,380");
        for (const auto& row : kRows) {
            POINT pt = {row.x, row.y};
            ::ClientToScreen(*window, &pt);
            EXPECT_EQ(::SendMessageW(*window, WM_NCHITTEST, 0, MAKELPARAM(pt.x, pt.y)),
                      bMaximised ? row.nMaximised : row.nRestored)
                << "(" << row.x << "," << row.y << ")";
        }
    }
    window->MaxOrRestroeWindow();
    EXPECT_EQ(WindowRectText(*window), "100,80,500,380") << "the toggle restores";
}

TEST_F(BaseWindowTest, DpiUpTo120CountsAsUnscaledAndCreationAppliesItOnlyWhenAsked) {
    const struct { int nMonitor; bool bScale; int nGetDpi, nSkinDpi; } kRows[] = {
        {96, true, 96, 96}, {120, true, 96, 96}, {121, true, 121, 121}, {144, false, 144, 96}};
    for (const auto& row : kRows) {
        UiLib::CDPI::SetMainMonitorDPIOverride(row.nMonitor);
        EXPECT_EQ(UiLib::QelMediaBaseWindow::GetDpi(), row.nGetDpi) << row.nMonitor;
        EXPECT_EQ(OpenSkin(WS_POPUP | WS_VISIBLE, row.bScale)->Manager().GetDPI(), row.nSkinDpi);
    }
}

TEST_F(BaseWindowTest, EnterAndEscapeReachNoControlAndCloseGoesThroughWmClose) {
    auto window = OpenSkin();
    auto* pKeys = static_cast<RecordingLayout*>(window->Manager().FindControl(L"keys"));
    window->Manager().SetFocus(pKeys);
    for (WPARAM vk : {WPARAM{VK_RETURN}, WPARAM{VK_ESCAPE}, WPARAM{VK_SPACE}, WPARAM{'A'}})
        ::SendMessageW(*window, WM_KEYDOWN, vk, 0);
    EXPECT_EQ(pKeys->m_strKeys, L" A");
    ::SendMessageW(*window, WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_FALSE(::IsWindow(*window));
}

}  // namespace
