#include "ui/QelSliderUI.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "QelUiTestSupport.h"
#include "QelUiTestWindow.h"

using namespace qel::uitest;
using UiLib::_QelVideoDotsData;

namespace {

// A horizontal slider 212 x 20 at (10, 50) and a vertical one 20 x 102 at (250, 20), both
// with a 10 x 10 thumb, inside a layout that records what is handed on to it.
const wchar_t kSliderSkin[] = LR"(<?xml version="1.0" encoding="utf-8"?>
<Window size="300,200">
  <VerticalLayout name="root" bkcolor="#FFFFFFFF">
    <RecordingLayout name="holder">
      <QelSlider name="slider" float="true" pos="10,50,222,70" min="0" max="100" thumbsize="10,10" dotsize="12" step="5" bkcolor="#FF808080" />
      <QelSlider name="vslider" float="true" pos="250,20,270,122" hor="false" min="0" max="50" thumbsize="10,10" />
    </RecordingLayout>
  </VerticalLayout>
</Window>
)";

const wchar_t kValueChanged[] = L"valuechanged";
const wchar_t kDotHot[] = L"videodothot";
const wchar_t kDotKillFocus[] = L"videodotkillfocus";

_QelVideoDotsData Dot(long long llTime) {
    _QelVideoDotsData dot;
    dot.llTime = llTime;
    dot.strText1 = L"chapter";
    dot.strText2 = std::to_wstring(llTime);
    return dot;
}

class SliderTest : public ::testing::Test {
protected:
    void SetUp() override {
        UiLib::CDPI::SetMainMonitorDPIOverride(96);
        m_skins.WriteText(L"slider/slider.xml", kSliderSkin);
        m_skins.WriteSolidBitmap(L"slider/dot.bmp", 12, 12, RGB(255, 0, 0));
        m_skins.WriteSolidBitmap(L"slider/dothot.bmp", 12, 12, RGB(0, 255, 0));
        m_skins.WriteSolidBitmap(L"slider/thumb.bmp", 10, 10, RGB(0, 0, 255));
        m_window = std::make_unique<TestPlayerWindow>(L"slider/slider.xml");
        ASSERT_NE(m_window->CreateAt(100, 100, 300, 200), nullptr);
        PumpPending();
        ::UpdateWindow(*m_window);
        m_pSlider = m_window->Find<ProbeSlider>(L"slider");
        m_pVSlider = m_window->Find<ProbeSlider>(L"vslider");
        m_pHolder = m_window->Find<RecordingLayout>(L"holder");
        ASSERT_NE(m_pSlider, nullptr);
        ASSERT_NE(m_pVSlider, nullptr);
        ASSERT_NE(m_pHolder, nullptr);
        ASSERT_EQ(m_pSlider->GetPos().left, 10);
        ASSERT_EQ(m_pSlider->GetPos().right, 222);
        m_window->m_notified.Clear();
    }
    void TearDown() override {
        m_window.reset();
        UiLib::CDPI::SetMainMonitorDPIOverride(0);
    }

    LRESULT Send(UINT uMsg, WPARAM wParam, int x, int y) {
        return ::SendMessageW(*m_window, uMsg, wParam, ClientPoint(x, y));
    }
    void Press(int x, int y) {
        Send(WM_MOUSEMOVE, 0, x, y);
        Send(WM_LBUTTONDOWN, MK_LBUTTON, x, y);
    }
    void Release(int x, int y) { Send(WM_LBUTTONUP, 0, x, y); }
    void Wheel(int nDelta, int x, int y) {
        Send(WM_MOUSEMOVE, 0, x, y);
        ::SendMessageW(*m_window, WM_MOUSEWHEEL, MAKEWPARAM(0, static_cast<WORD>(static_cast<short>(nDelta))),
                       ScreenPoint(*m_window, x, y));
    }
    size_t Count(const wchar_t* pstrType) {
        PumpPending();
        return m_window->m_notified.Count(pstrType);
    }

    TempSkinFolder m_skins;
    std::unique_ptr<TestPlayerWindow> m_window;
    ProbeSlider* m_pSlider = nullptr;
    ProbeSlider* m_pVSlider = nullptr;
    RecordingLayout* m_pHolder = nullptr;
};

struct LayoutCase {
    int nMin;
    int nMax;
    int nDotSize;
    long long llTime;
    RECT rcExpected;
    const char* pszWhy;
};

// The horizontal slider spans x 10..222 (212 wide), y 50..70.
const LayoutCase kLayoutCases[] = {
    {0, 100, 12, 0, {10, 54, 22, 66}, "min touches the left edge"},
    {0, 100, 12, 50, {110, 54, 122, 66}, "half way: left + 100"},
    {0, 100, 12, 100, {210, 54, 222, 66}, "max touches the right edge"},
    {0, 100, 12, 33, {76, 54, 88, 66}, "6600 / 100 = 66"},
    {0, 300, 12, -1, {10, 54, 22, 66}, "-200 / 300 truncates toward zero"},
    {0, 100, 12, -10, {-10, 54, 2, 66}, "before min: outside the track, not clamped"},
    {0, 100, 12, 150, {310, 54, 322, 66}, "after max: outside the track, not clamped"},
    {-100, 100, 12, 0, {110, 54, 122, 66}, "a range below zero"},
    {0, 100, 13, 50, {109, 53, 122, 66}, "odd dot: (50 + 70 - 13) / 2 truncates"},
    {0, 2000000000, 12, 1500000000, {160, 54, 172, 66}, "200 * 1.5e9 needs 64 bits"},
    {0, 100, 12, 1000000000000LL, {-1454759926, 54, -1454759914, 66}, "the low 32 bits of 2e12 + 10"},
};

TEST_F(SliderTest, DotLayoutArithmetic) {
    for (const LayoutCase& c : kLayoutCases) {
        m_pSlider->SetMinValue(c.nMin);
        m_pSlider->SetMaxValue(c.nMax);
        m_pSlider->SetDotSize(c.nDotSize);
        m_pSlider->SetVideoDots({Dot(c.llTime)});
        ASSERT_EQ(m_pSlider->Dots().size(), 1u);
        const RECT& rc = m_pSlider->Dots()[0].rcDot;
        EXPECT_EQ(rc.left, c.rcExpected.left) << c.pszWhy;
        EXPECT_EQ(rc.top, c.rcExpected.top) << c.pszWhy;
        EXPECT_EQ(rc.right, c.rcExpected.right) << c.pszWhy;
        EXPECT_EQ(rc.bottom, c.rcExpected.bottom) << c.pszWhy;
        EXPECT_EQ(m_pSlider->Dots()[0].strText2, std::to_wstring(c.llTime)) << "the caller's texts travel along";
    }
}

TEST_F(SliderTest, AVerticalSliderLaysItsDotsOutHorizontally) {
    // 250..270 wide, 20..122 high, range 0..50: left = 250 + 8 * t / 50.
    m_pVSlider->SetVideoDots({Dot(0), Dot(25), Dot(50)});
    const auto& dots = m_pVSlider->Dots();
    ASSERT_EQ(dots.size(), 3u);
    EXPECT_EQ(dots[0].rcDot.left, 250);
    EXPECT_EQ(dots[1].rcDot.left, 254);
    EXPECT_EQ(dots[2].rcDot.left, 258);
    for (const auto& dot : dots) {
        EXPECT_EQ(dot.rcDot.top, 65);
        EXPECT_EQ(dot.rcDot.bottom, 77);
    }
}

TEST_F(SliderTest, DotsOfANeverLaidOutSliderWaitForTheNextPaintAfterAnUpdate) {
    UiLib::QelSliderUI loose;
    _QelVideoDotsData dot = Dot(50);
    dot.rcDot = RECT{1, 2, 3, 4};
    loose.SetVideoDots({dot});  // no rectangle yet: nothing to lay out on

    // In the window: a range change alone leaves the dots where they were; the update
    // request lays them out at the next paint.
    m_pSlider->SetVideoDots({Dot(50)});
    EXPECT_EQ(m_pSlider->Dots()[0].rcDot.left, 110);
    m_pSlider->SetMaxValue(200);
    ::UpdateWindow(*m_window);
    EXPECT_EQ(m_pSlider->Dots()[0].rcDot.left, 110);
    m_pSlider->UpdateVideoDotsRect();
    ::UpdateWindow(*m_window);
    EXPECT_EQ(m_pSlider->Dots()[0].rcDot.left, 60);
}

struct PointCase {
    bool bVertical;
    int nMax;
    int nCoord;
    int nExpected;
    const char* pszWhy;
    int nThumb = 10;
};

// Horizontal: half thumb 5, x >= 217 is max, x <= 15 is min, else (x - 15) * max / 202.
// Vertical: y >= 117 is min, y <= 25 is max, else (117 - y) * max / 92.
const PointCase kPointCases[] = {
    {false, 100, 15, 0, "exactly left + half is min"},
    {false, 100, 12, 0, "left of it too"},
    {false, 100, 16, 0, "100 / 202 truncates"},
    {false, 100, 18, 1, "300 / 202"},
    {false, 100, 116, 50, "10100 / 202"},
    {false, 100, 216, 99, "20100 / 202"},
    {false, 100, 217, 100, "exactly right - half is max"},
    {false, 100, 221, 100, "right of it too"},
    {false, 100000000, 116, 7475571, "1e8 * 101 wraps around in 32 bits"},
    {true, 50, 117, 0, "exactly bottom - half is min"},
    {true, 50, 121, 0, "below it too"},
    {true, 50, 116, 0, "50 / 92 truncates"},
    {true, 50, 71, 25, "2300 / 92"},
    {true, 50, 26, 49, "4550 / 92"},
    {true, 50, 25, 50, "exactly top + half is max"},
    // An odd thumb (11, half 5): the formula at the very ends would overshoot the range.
    {false, 1000, 217, 1000, "odd thumb: right - half is max, not 202000 / 201", 11},
    {false, 1000, 215, 995, "odd thumb: 200000 / 201", 11},
    {true, 1000, 25, 1000, "odd thumb: top + half is max, not 92000 / 91", 11},
};

TEST_F(SliderTest, PressAndReleaseSetTheValueUnderThePoint) {
    for (const PointCase& c : kPointCases) {
        ProbeSlider* pSlider = c.bVertical ? m_pVSlider : m_pSlider;
        pSlider->SetMaxValue(c.nMax);
        pSlider->SetThumbSize(SIZE{c.nThumb, c.nThumb});
        const int x = c.bVertical ? 260 : c.nCoord;
        const int y = c.bVertical ? c.nCoord : 60;
        m_window->m_notified.Clear();
        Press(x, y);
        Release(x, y);
        EXPECT_EQ(pSlider->GetValue(), c.nExpected) << c.pszWhy;
        ASSERT_EQ(Count(kValueChanged), 1u) << c.pszWhy;
        const RecordedNotify rec = m_window->m_notified.OfType(kValueChanged)[0];
        EXPECT_EQ(rec.strSender, c.bVertical ? L"vslider" : L"slider");
        EXPECT_EQ(rec.wParam, 0u);
        EXPECT_EQ(rec.lParam, 0);
    }
}

TEST_F(SliderTest, APressMovesTheThumbSilentlyAndTheReleaseReports) {
    Press(116, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 50);
    EXPECT_TRUE(m_pSlider->IsCaptured());
    EXPECT_EQ(Count(kValueChanged), 0u);

    Release(116, 60);
    EXPECT_FALSE(m_pSlider->IsCaptured());
    EXPECT_EQ(Count(kValueChanged), 1u) << "a release where the press was still reports";

    // Pressing and releasing on the current value reports again.
    Press(116, 60);
    Release(116, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 50);
    EXPECT_EQ(Count(kValueChanged), 2u);
}

TEST_F(SliderTest, DraggingOnlyMovesTheThumb) {
    Press(16, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 0);
    Send(WM_MOUSEMOVE, MK_LBUTTON, 116, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 50);
    Send(WM_MOUSEMOVE, MK_LBUTTON, 280, 60);  // past the end, outside the control
    EXPECT_EQ(m_pSlider->GetValue(), 100);
    EXPECT_EQ(Count(kValueChanged), 0u);
    EXPECT_EQ(Count(L"movevaluechanged"), 0u);
    Send(WM_MOUSEMOVE, MK_LBUTTON, 66, 60);
    Release(66, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 25);
    EXPECT_EQ(Count(kValueChanged), 1u);
    EXPECT_EQ(Count(L"movevaluechanged"), 0u);
}

struct WheelCase {
    int nStart;
    int nDelta;
    int nExpected;
};

TEST_F(SliderTest, TheWheelStepsTheValueAndAlwaysReports) {
    const WheelCase kCases[] = {
        {50, WHEEL_DELTA, 55}, {50, -WHEEL_DELTA, 45}, {100, WHEEL_DELTA, 100}, {0, -WHEEL_DELTA, 0}, {98, WHEEL_DELTA, 100},
    };
    size_t nReports = 0;
    for (const WheelCase& c : kCases) {
        m_pSlider->SetValue(c.nStart);
        Wheel(c.nDelta, 116, 60);
        EXPECT_EQ(m_pSlider->GetValue(), c.nExpected) << c.nStart << " " << c.nDelta;
        EXPECT_EQ(Count(kValueChanged), ++nReports) << "also at the end of the range";
    }
}

struct HoverStep {
    int x;
    int nHotIndex;  // GetHotDotIndex afterwards
    size_t nHot;    // "videodothot" so far
    size_t nKill;   // "videodotkillfocus" so far
    const char* pszWhy;
};

TEST_F(SliderTest, HoveringOverDotsReportsOnEntryAndOnLeaving) {
    // Dots at 50..62 and 60..72 (overlapping) and 170..182; y 54..66.
    m_pSlider->SetVideoDots({Dot(20), Dot(25), Dot(80)});
    const HoverStep kSteps[] = {
        {30, -1, 0, 0, "over the track only"},
        {55, 0, 1, 0, "onto dot 0"},
        {57, 0, 1, 0, "within dot 0: no repeat"},
        {65, 1, 1, 0, "straight onto dot 1: index moves, nothing sent"},
        {61, 0, 1, 0, "where both lie the lower index wins"},
        {100, 0, 1, 1, "off every dot: the index stays"},
        {120, 0, 1, 1, "still off: nothing more"},
        {175, 2, 2, 1, "onto dot 2"},
    };
    for (const HoverStep& step : kSteps) {
        Send(WM_MOUSEMOVE, MK_SHIFT, step.x, 60);
        EXPECT_EQ(m_pSlider->GetHotDotIndex(), step.nHotIndex) << step.pszWhy;
        EXPECT_EQ(Count(kDotHot), step.nHot) << step.pszWhy;
        EXPECT_EQ(Count(kDotKillFocus), step.nKill) << step.pszWhy;
        EXPECT_EQ(m_pSlider->IsDotHot(), step.nHotIndex >= 0 && step.nHot > step.nKill) << step.pszWhy;
    }
    const auto hot = m_window->m_notified.OfType(kDotHot);
    const auto kill = m_window->m_notified.OfType(kDotKillFocus);
    ASSERT_EQ(hot.size(), 2u);
    ASSERT_EQ(kill.size(), 1u);
    EXPECT_EQ(hot[0].wParam, 0u);
    EXPECT_EQ(hot[0].lParam, ClientPoint(55, 60)) << "the mouse event's lParam";
    EXPECT_EQ(hot[1].wParam, 2u);
    EXPECT_EQ(hot[1].strSender, L"slider");
    EXPECT_EQ(kill[0].wParam, static_cast<WPARAM>(MK_SHIFT)) << "the mouse event's wParam";
    EXPECT_EQ(kill[0].lParam, ClientPoint(100, 60));

    // Leaving the control ends the hot dot.
    ::SendMessageW(*m_window, WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(Count(kDotKillFocus), 2u);
    EXPECT_FALSE(m_pSlider->IsDotHot());
}

TEST_F(SliderTest, LeavingReportsEvenWithoutAHotDot) {
    Send(WM_MOUSEMOVE, 0, 30, 60);
    ::SendMessageW(*m_window, WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(Count(kDotKillFocus), 1u);
    EXPECT_EQ(Count(kDotHot), 0u);
}

TEST_F(SliderTest, TheThumbIsHotOnlyUnderThePointer) {
    m_pSlider->SetValue(0);  // thumb at 10..20, 55..65
    Send(WM_MOUSEMOVE, 0, 15, 60);
    EXPECT_TRUE(m_pSlider->IsThumbHot());
    Send(WM_MOUSEMOVE, 0, 100, 60);
    EXPECT_FALSE(m_pSlider->IsThumbHot());
}

TEST_F(SliderTest, ADisabledSliderNeitherDragsNorReportsDots) {
    m_pSlider->SetVideoDots({Dot(20)});
    m_pSlider->SetValue(10);
    m_pSlider->SetEnabled(false);
    Press(116, 60);
    Send(WM_MOUSEMOVE, MK_LBUTTON, 55, 60);
    Send(WM_MOUSEMOVE, 0, 55, 60);
    ::SendMessageW(*m_window, WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(m_pSlider->GetValue(), 10);
    EXPECT_FALSE(m_pSlider->IsCaptured());
    EXPECT_EQ(Count(kDotHot), 0u);
    EXPECT_EQ(Count(kDotKillFocus), 0u);
    EXPECT_EQ(Count(kValueChanged), 0u);
}

TEST_F(SliderTest, WithoutMouseInputEveryMouseEventGoesToTheParentUntouched) {
    // Pressed while it still takes the mouse, so it holds the capture for what follows.
    Press(116, 60);
    ASSERT_EQ(m_pSlider->GetValue(), 50);
    m_pSlider->SetMouseEnabled(false);
    m_pHolder->m_vecEvents.clear();
    Send(WM_MOUSEMOVE, MK_LBUTTON, 16, 60);
    Release(16, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 50);
    EXPECT_EQ(Count(kValueChanged), 0u);
    EXPECT_EQ(m_pHolder->Count(UiLib::UIEVENT_MOUSEMOVE), 1u);
    EXPECT_EQ(m_pHolder->Count(UiLib::UIEVENT_BUTTONUP), 1u);

    // The same for an event handed to it directly, with its fields as they came.
    UiLib::TEventUI event;
    event.Type = UiLib::UIEVENT_SCROLLWHEEL;
    event.pSender = m_pSlider;
    event.wParam = SB_LINEUP;
    event.ptMouse = POINT{116, 60};
    m_pSlider->DoEvent(event);
    EXPECT_EQ(m_pSlider->GetValue(), 50);
    EXPECT_EQ(m_pHolder->Count(UiLib::UIEVENT_SCROLLWHEEL), 1u);
    EXPECT_EQ(event.wParam, static_cast<WPARAM>(SB_LINEUP));
}

struct PaintCase {
    const wchar_t* pszDotImage;
    const wchar_t* pszHotImage;
    bool bHover;
    COLORREF crExpected;
    const char* pszWhy;
};

TEST_F(SliderTest, DotsArePaintedAboveTheThumbWithTheHotImageUnderTheNormalOne) {
    m_pSlider->SetThumbImage(L"slider/thumb.bmp");
    const COLORREF kRed = RGB(255, 0, 0);
    const COLORREF kGreen = RGB(0, 255, 0);
    const COLORREF kBlue = RGB(0, 0, 255);
    const PaintCase kCases[] = {
        {L"slider/dot.bmp", L"", false, kRed, "normal dot"},
        {L"slider/dot.bmp", L"slider/dothot.bmp", true, kRed, "the normal image covers the hot one"},
        {L"", L"slider/dothot.bmp", true, kGreen, "hot image alone"},
        {L"", L"slider/dothot.bmp", false, kBlue, "hot image only while hot: the thumb shows"},
    };
    for (const PaintCase& c : kCases) {
        m_pSlider->SetDotImage(c.pszDotImage);
        m_pSlider->SetDotHotImage(c.pszHotImage);
        m_pSlider->SetValue(50);  // thumb at 110..120, under the dot at 110..122
        m_pSlider->SetVideoDots({Dot(50)});
        Send(WM_MOUSEMOVE, 0, c.bHover ? 116 : 30, 60);
        PumpPending();
        ::UpdateWindow(*m_window);
        EXPECT_EQ(ReadPixel(*m_window, 115, 60), c.crExpected) << c.pszWhy;
    }
}

TEST_F(SliderTest, AttributesAndInterfaces) {
    ProbeSlider slider;
    slider.SetAttribute(L"dotimage", L"a.png");
    slider.SetAttribute(L"dothotimage", L"b.png");
    slider.SetAttribute(L"dotsize", L"9");
    slider.SetAttribute(L"thumbsize", L"7,8");
    EXPECT_STREQ(slider.GetDotImage(), L"a.png");
    EXPECT_STREQ(slider.GetDotHotImage(), L"b.png");
    EXPECT_EQ(slider.GetDotSize(), 9);
    EXPECT_EQ(slider.GetThumbSize().cx, 7);
    EXPECT_EQ(slider.GetHotDotIndex(), -1);
    EXPECT_STREQ(slider.GetClass(), L"QelSliderUI");
    EXPECT_EQ(slider.GetInterface(L"QelSlider"), &slider);
    EXPECT_EQ(slider.GetInterface(L"Progress"), &slider);
    EXPECT_EQ(slider.GetInterface(L"Slider"), nullptr) << "the slider level is skipped";

    // A copy carries the dots along.
    slider.SetVideoDots({Dot(1), Dot(2)});
    ProbeSlider copy(slider);
    EXPECT_STREQ(copy.GetDotImage(), L"a.png");
    EXPECT_EQ(copy.GetDotSize(), 9);
    ASSERT_EQ(copy.Dots().size(), 2u);
    EXPECT_EQ(copy.Dots()[1].llTime, 2);
}

}  // namespace
