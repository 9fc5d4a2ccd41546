// Real window messages in, control states and notifications out.
#include "support/TestSkinSupport.h"

#include <gtest/gtest.h>

using namespace UiLib;
using qel::test::PumpPending;
using qel::test::PumpUntil;
using qel::test::TempSkinFolder;
using qel::test::TestSkinHost;

namespace {

// A 400 x 100 window: a 100-wide button at the left, a slider 200 wide (thumb 20),
// a mouse-transparent label over the button's right half.
const char* kSkin = R"(<Window size="400,100"><HorizontalLayout name="bar">
  <Button name="btn" width="100"/>
  <Slider name="sld" width="200" min="0" max="100" value="50" thumbsize="20,20" step="7"/>
  <Control name="rest"/>
  <Label name="glass" float="true" pos="50,0,100,100" mouse="false"/>
</HorizontalLayout></Window>)";

class EventsTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder.WriteText(L"e.xml", kSkin);
        ASSERT_TRUE(host.Open(RECT{0, 0, 400, 100}));
        button = host.Find<CButtonUI>(L"btn");
        slider = host.Find<CSliderUI>(L"sld");
        ASSERT_NE(button, nullptr);
        ASSERT_NE(slider, nullptr);
        host.notifications.clear();
    }

    TempSkinFolder folder;
    TestSkinHost host{L"e.xml"};
    CButtonUI* button = nullptr;
    CSliderUI* slider = nullptr;
};

struct ClickCase {
    const char* label;
    POINT down;
    POINT up;
    int clicks;
};

void PrintTo(const ClickCase& c, std::ostream* os) { *os << c.label; }

class ButtonClickTest : public EventsTest, public ::testing::WithParamInterface<ClickCase> {};

TEST_P(ButtonClickTest, ClickNeedsPressAndReleaseOnTheButton) {
    const ClickCase& c = GetParam();
    host.Mouse(WM_LBUTTONDOWN, c.down.x, c.down.y, MK_LBUTTON);
    EXPECT_NE(button->GetButtonState() & UISTATE_PUSHED, 0u);
    host.Mouse(WM_MOUSEMOVE, c.up.x, c.up.y, MK_LBUTTON);
    host.Mouse(WM_LBUTTONUP, c.up.x, c.up.y);
    EXPECT_EQ(host.Count(L"click"), c.clicks);
    EXPECT_EQ(button->GetButtonState() & (UISTATE_PUSHED | UISTATE_CAPTURED), 0u);
}

INSTANTIATE_TEST_SUITE_P(Clicks, ButtonClickTest,
                         ::testing::Values(ClickCase{"Inside", {10, 50}, {90, 50}, 1},
                                           ClickCase{"ReleasedOutside", {10, 50}, {150, 50}, 0},
                                           ClickCase{"ThroughMouseTransparentLabel", {75, 50}, {75, 50}, 1}),
                         [](const auto& info) { return std::string(info.param.label); });

TEST_F(EventsTest, DisabledButtonNeitherPressesNorClicks) {
    button->SetEnabled(false);
    host.Mouse(WM_LBUTTONDOWN, 10, 50, MK_LBUTTON);
    host.Mouse(WM_LBUTTONUP, 10, 50);
    EXPECT_EQ(host.Count(L"click"), 0);
}

TEST_F(EventsTest, HoverFollowsTheMouseAcrossControls) {
    host.Mouse(WM_MOUSEMOVE, 10, 50);
    EXPECT_EQ(host.Manager().GetHotControl(), button);
    EXPECT_NE(button->GetButtonState() & UISTATE_HOT, 0u);
    host.Mouse(WM_MOUSEMOVE, 350, 50);
    EXPECT_EQ(button->GetButtonState() & UISTATE_HOT, 0u);
    EXPECT_EQ(host.Manager().GetHotControl(), host.Find(L"rest"));
    host.Mouse(WM_MOUSEMOVE, 10, 50);
    SendMessageW(host.GetHWND(), WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(button->GetButtonState() & UISTATE_HOT, 0u);
    EXPECT_EQ(host.Manager().GetHotControl(), nullptr);
}

TEST_F(EventsTest, SliderPressDragAndRelease) {
    // Track 100..300, thumb 20: values run from x = 110 (0) to x = 290 (100).
    host.Mouse(WM_LBUTTONDOWN, 200, 50, MK_LBUTTON);
    EXPECT_EQ(slider->GetValue(), 50);
    EXPECT_EQ(host.notifications.size(), 0u) << "a press moves the thumb silently";
    host.Mouse(WM_MOUSEMOVE, 128, 50, MK_LBUTTON);
    EXPECT_EQ(slider->GetValue(), 10);
    EXPECT_EQ(host.Count(L"movevaluechanged"), 1);
    host.Mouse(WM_MOUSEMOVE, 500, 50, MK_LBUTTON);  // the capture keeps the drag past the end
    EXPECT_EQ(slider->GetValue(), 100);
    host.Mouse(WM_LBUTTONUP, 290, 50);
    EXPECT_EQ(slider->GetValue(), 100);
    EXPECT_EQ(host.Count(L"valuechanged"), 1);
    EXPECT_EQ(slider->GetButtonState() & UISTATE_CAPTURED, 0u);
}

TEST_F(EventsTest, WheelStepsTheSliderAndClampsAtTheEnds) {
    POINT pt = {200, 50};
    ClientToScreen(host.GetHWND(), &pt);
    const struct {
        short delta;
        int value;
    } steps[] = {{WHEEL_DELTA, 57}, {WHEEL_DELTA, 64}, {-WHEEL_DELTA, 57}};
    for (const auto& step : steps) {
        SendMessageW(host.GetHWND(), WM_MOUSEWHEEL, MAKEWPARAM(0, step.delta), MAKELPARAM(pt.x, pt.y));
        EXPECT_EQ(slider->GetValue(), step.value);
    }
    slider->SetValue(99);
    SendMessageW(host.GetHWND(), WM_MOUSEWHEEL, MAKEWPARAM(0, WHEEL_DELTA), MAKELPARAM(pt.x, pt.y));
    EXPECT_EQ(slider->GetValue(), 100);
    EXPECT_EQ(host.Count(L"valuechanged"), 4);
}

TEST_F(EventsTest, PostedNotificationArrivesAfterTheEventAndOnlyWhileItsSenderLives) {
    host.Manager().SendNotify(button, L"later", 7, 8, true);
    EXPECT_EQ(host.Count(L"later"), 0);
    ASSERT_TRUE(PumpUntil([&] { return host.Count(L"later") == 1; }));
    EXPECT_EQ(host.notifications.back().wParam, 7u);
    EXPECT_EQ(host.notifications.back().lParam, 8);

    auto* bar = host.Find<CContainerUI>(L"bar");
    host.Manager().SendNotify(button, L"orphan", 0, 0, true);
    ASSERT_TRUE(bar->Remove(button));
    PumpPending();
    EXPECT_EQ(host.Count(L"orphan"), 0) << "a removed control's queued notification is dropped";
}

TEST_F(EventsTest, WindowInitIsSentOnce) {
    InvalidateRect(host.GetHWND(), nullptr, FALSE);
    UpdateWindow(host.GetHWND());
    PumpPending();
    EXPECT_EQ(host.Count(L"windowinit"), 0) << "already sent while opening";
}

TEST_F(EventsTest, ControlTimersTickAsTimerNotifications) {
    ASSERT_TRUE(host.Manager().SetTimer(button, 42, 10));
    ASSERT_TRUE(PumpUntil([&] { return host.Count(L"timer") >= 2; }));
    EXPECT_EQ(host.notifications.back().wParam, 42u);
    EXPECT_TRUE(host.Manager().KillTimer(button, 42));
    EXPECT_FALSE(host.Manager().KillTimer(button, 42));
}

TEST_F(EventsTest, FindControlByPointSkipsHiddenAndMouseTransparentControls) {
    EXPECT_EQ(host.Manager().FindControl(POINT{75, 50}), button);
    EXPECT_EQ(host.Manager().FindControl(POINT{150, 50}), slider);
    slider->SetVisible(false);
    EXPECT_NE(host.Manager().FindControl(POINT{150, 50}), slider);
    EXPECT_EQ(host.Manager().FindControl(POINT{-5, 50}), nullptr);
}

}  // namespace

namespace {

// A window whose own handler throws on WM_APP.
class ThrowingWindow : public CWindowWnd {
protected:
    const wchar_t* GetWindowClassName() const override { return L"QelThrowingWindowTest"; }
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override {
        if (uMsg == WM_APP) throw std::runtime_error("thrown by a handler");
        return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
    }
};

TEST(WindowProcedure, AnExceptionFromAHandlerEndsInTheWindowProcedure) {
    ThrowingWindow window;
    ASSERT_NE(window.Create(nullptr, L"throwing", WS_POPUP, 0, 0, 0, 10, 10), nullptr);
    EXPECT_EQ(window.SendMessage(WM_APP), 0);
    EXPECT_TRUE(::IsWindow(window.GetHWND()));
    ::DestroyWindow(window.GetHWND());
}

}  // namespace
