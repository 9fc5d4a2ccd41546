// The slider with video dots in a real window under Wine: dot layout, values from mouse
// points and the dot notifications. Mouse events are handed to the slider as the toolkit
// hands them, so no real pointer position plays a part.
#include "ui/QelSliderUI.h"

#include "QelUiTestSupport.h"

using namespace qel::test;
using UiLib::_QelVideoDotsData;

namespace {

// A horizontal slider 212 x 20 at (10, 50) and a vertical one 20 x 102 at (250, 20), both
// with a 10 x 10 thumb.
const wchar_t kSkin[] = LR"(<Window size="300,200"><VerticalLayout>
  <QelSlider name="slider" float="true" pos="10,50,222,70" max="100" thumbsize="10,10" dotsize="12" step="5" />
  <QelSlider name="vslider" float="true" pos="250,20,270,122" hor="false" max="50" thumbsize="10,10" />
</VerticalLayout></Window>)";

class ProbeSlider : public UiLib::QelSliderUI {
public:
    const std::vector<_QelVideoDotsData>& Dots() const { return m_vecVideoDots; }
    bool Captured() const { return (m_uButtonState & UiLib::UISTATE_CAPTURED) != 0; }
    bool DotHot() const { return (m_uDotState & UiLib::UISTATE_HOT) != 0; }
};

std::vector<_QelVideoDotsData> DotsAt(std::initializer_list<long long> times) {
    std::vector<_QelVideoDotsData> dots;
    for (long long llTime : times) dots.emplace_back().llTime = llTime;
    return dots;
}

class SliderTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_skins.WriteText(L"slider.xml", kSkin);
        ASSERT_TRUE(m_window.Open());
        m_pSlider = m_window.Find<ProbeSlider>(L"slider");
        m_pVSlider = m_window.Find<ProbeSlider>(L"vslider");
        ASSERT_EQ(RectText(m_pSlider->GetPos()), "10,50,222,70");
        m_window.Clear();
    }
    // An event as the toolkit delivers it to the slider, then what it posted runs.
    void Event(ProbeSlider* pSlider, int nType, int x, int y, WPARAM wParam = 0) {
        UiLib::TEventUI event{nType, pSlider, 0, POINT{x, y}, 0, 0, wParam, ClientPoint(x, y)};
        pSlider->DoEvent(event);
        PumpPending();
    }
    int Count(const wchar_t* szType) { return m_window.Count(szType); }

    ScopedDpiOverride m_dpi{96};
    TempSkinFolder m_skins;
    TestSkinHost m_window{L"slider.xml", [](const wchar_t* szClass) -> UiLib::CControlUI* {
        return std::wstring(szClass) == L"QelSlider" ? new ProbeSlider : nullptr;
    }};
    ProbeSlider* m_pSlider = nullptr;
    ProbeSlider* m_pVSlider = nullptr;
};

TEST_F(SliderTest, DotsLieAlongTheTrackByTheirTimeInSixtyFourBitsUnclamped) {
    const struct { bool bVertical; int nMin, nMax, nDot; long long llTime; const char *pszRect, *pszWhy; } kRows[] = {
        {false, 0, 100, 12, 100, "210,54,222,66", "max touches the right edge"},
        {false, 0, 300, 12, -1, "10,54,22,66", "-200 / 300 truncates toward zero"},
        {false, 0, 100, 12, 150, "310,54,322,66", "after max: outside the track"},
        {false, -100, 100, 12, 0, "110,54,122,66", "a range below zero"},
        {false, 0, 100, 13, 50, "109,53,122,66", "odd dot: (50 + 70 - 13) / 2 truncates"},
        {false, 0, 2000000000, 12, 1500000000, "160,54,172,66", "200 * 1.5e9 needs 64 bits"},
        {false, 0, 100, 12, 1000000000000LL, "-1454759926,54,-1454759914,66", "the low 32 bits of 2e12 + 10"},
        {true, 0, 50, 12, 25, "254,65,266,77", "a vertical slider lays its dots out horizontally"},
    };
    for (const auto& row : kRows) {
        ProbeSlider* pSlider = row.bVertical ? m_pVSlider : m_pSlider;
        pSlider->SetMinValue(row.nMin);
        pSlider->SetMaxValue(row.nMax);
        pSlider->SetDotSize(row.nDot);
        pSlider->SetVideoDots(DotsAt({row.llTime}));
        EXPECT_EQ(RectText(pSlider->Dots().at(0).rcDot), row.pszRect) << row.pszWhy;
    }
    // A range change moves the dots only at the paint after an update request.
    UiLib::QelSliderUI().SetVideoDots(DotsAt({50}));  // never laid out: nothing to lay out on
    m_pSlider->SetVideoDots(DotsAt({50}));
    m_pSlider->SetMaxValue(200);
    Repaint(m_window);
    EXPECT_EQ(m_pSlider->Dots()[0].rcDot.left, 110);
    m_pSlider->UpdateVideoDotsRect();
    Repaint(m_window);
    EXPECT_EQ(m_pSlider->Dots()[0].rcDot.left, 60);
}

TEST_F(SliderTest, ReleaseSetsTheValueUnderThePointAndReportsIt) {
    // Horizontal: x >= 217 is max, x <= 15 is min, else (x - 15) * max / 202.
    // Vertical: y >= 117 is min, y <= 25 is max, else (117 - y) * max / 92. At the ends the
    // sum gives the same value, so only a thumb of odd width tells the ends' own rule.
    const struct { bool bVertical; int nMax, nThumb, nCoord, nValue; const char* pszWhy; } kRows[] = {
        {false, 100, 10, 116, 50, "10100 / 202"},
        {false, 100000000, 10, 116, 7475571, "1e8 * 101 wraps in 32 bits"},
        {false, 1000000000, 10, 116, -1, "a product that wraps below min is ignored"},
        {false, 1000, 11, 217, 1000, "odd thumb: right - half is max, not 202000 / 201"},
        {true, 50, 10, 71, 25, "2300 / 92"},
    };
    for (const auto& row : kRows) {
        ProbeSlider* pSlider = row.bVertical ? m_pVSlider : m_pSlider;
        pSlider->SetMaxValue(row.nMax);
        pSlider->SetThumbSize(SIZE{row.nThumb, row.nThumb});
        pSlider->SetValue(3);
        const int x = row.bVertical ? 260 : row.nCoord, y = row.bVertical ? row.nCoord : 60;
        m_window.Clear();
        Event(pSlider, UiLib::UIEVENT_BUTTONDOWN, x, y);
        Event(pSlider, UiLib::UIEVENT_BUTTONUP, x, y);
        EXPECT_EQ(pSlider->GetValue(), row.nValue < 0 ? 3 : row.nValue) << row.pszWhy;
        EXPECT_EQ(Count(L"valuechanged"), row.nValue < 0 ? 0 : 1) << row.pszWhy;
    }
}

TEST_F(SliderTest, APressAndADragMoveTheThumbSilentlyOnlyReleasesAndTheWheelReportAndADisabledOneDoesNothing) {
    EXPECT_EQ(m_pSlider->GetInterface(L"Slider"), nullptr) << "it answers as a progress bar, not as a slider";
    Event(m_pSlider, UiLib::UIEVENT_BUTTONDOWN, 116, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 50);
    Event(m_pSlider, UiLib::UIEVENT_MOUSEMOVE, 280, 60);  // past the end
    EXPECT_EQ(m_pSlider->GetValue(), 100);
    Event(m_pSlider, UiLib::UIEVENT_MOUSEMOVE, 66, 60);
    EXPECT_EQ(Count(L"valuechanged") + Count(L"movevaluechanged"), 0);
    Event(m_pSlider, UiLib::UIEVENT_BUTTONUP, 66, 60);
    EXPECT_FALSE(m_pSlider->Captured());
    // A press and release on the current value reports again.
    Event(m_pSlider, UiLib::UIEVENT_BUTTONDOWN, 66, 60);
    Event(m_pSlider, UiLib::UIEVENT_BUTTONUP, 66, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 25);
    // The wheel steps by 5 and reports, also where the end of the range cuts the step.
    m_pSlider->SetValue(98);
    Event(m_pSlider, UiLib::UIEVENT_SCROLLWHEEL, 116, 60, SB_LINEUP);
    Event(m_pSlider, UiLib::UIEVENT_SCROLLWHEEL, 116, 60, SB_LINEDOWN);
    EXPECT_EQ(m_pSlider->GetValue(), 95);
    EXPECT_EQ(std::to_string(Count(L"valuechanged")) + " " + std::to_string(Count(L"movevaluechanged")), "4 0");

    m_pSlider->SetVideoDots(DotsAt({20}));
    m_pSlider->SetEnabled(false);
    m_window.Clear();
    for (int nType : {UiLib::UIEVENT_BUTTONDOWN, UiLib::UIEVENT_MOUSEMOVE, UiLib::UIEVENT_MOUSELEAVE})
        Event(m_pSlider, nType, 55, 60);
    EXPECT_EQ(m_pSlider->GetValue(), 95) << "disabled: no drag";
    EXPECT_FALSE(m_pSlider->Captured() || m_pSlider->DotHot());
    EXPECT_TRUE(m_window.notifications.empty()) << "nor dots reported";
}

TEST_F(SliderTest, ADotTurnsHotOnEntryAndCoolsOnLeavingEveryDot) {
    // Dots at 50..62 and 60..72 (overlapping) and 170..182, y 54..66. x -1: mouse leave.
    m_pSlider->SetVideoDots(DotsAt({20, 25, 80}));
    const struct { int x; const char *pszState, *pszWhy; } kSteps[] = {
        // Hot index (* while a dot is hot), then "videodothot"/"videodotkillfocus" so far.
        {30, "-1 0/0", "over the track only"},
        {-1, "-1 0/1", "leaving reports even without a hot dot"},
        {55, "0* 1/1", "onto dot 0"},
        {57, "0* 1/1", "within dot 0: no repeat"},
        {65, "1* 1/1", "straight onto dot 1: the index moves, nothing is sent"},
        {61, "0* 1/1", "where both lie the lower index wins"},
        {100, "0 1/2", "off every dot: the index stays"},
        {175, "2* 2/2", "onto dot 2"},
        {-1, "2 2/3", "leaving the control"},
    };
    for (const auto& step : kSteps) {
        Event(m_pSlider, step.x < 0 ? UiLib::UIEVENT_MOUSELEAVE : UiLib::UIEVENT_MOUSEMOVE, step.x, 60, MK_SHIFT);
        EXPECT_EQ(std::to_string(m_pSlider->GetHotDotIndex()) + (m_pSlider->DotHot() ? "* " : " ") +
                      std::to_string(Count(L"videodothot")) + "/" + std::to_string(Count(L"videodotkillfocus")),
                  step.pszState)
            << step.pszWhy;
    }
    // "videodothot" carries the dot's index and the event's lParam, "videodotkillfocus" the event's own.
    const auto hot = m_window.OfType(L"videodothot"), kill = m_window.OfType(L"videodotkillfocus");
    EXPECT_EQ(std::to_string(hot[1].wParam) + " " + std::to_string(hot[1].lParam) + " " +
                  std::to_string(kill[1].wParam) + " " + std::to_string(kill[1].lParam),
              "2 " + std::to_string(ClientPoint(175, 60)) + " " + std::to_string(MK_SHIFT) + " " +
                  std::to_string(ClientPoint(100, 60)));
}

}  // namespace
