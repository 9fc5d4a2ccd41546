// Layout: where controls land in a real window of a known client size.
#include "support/TestSkinSupport.h"

#include <gtest/gtest.h>

using namespace UiLib;
using qel::test::TempSkinFolder;
using qel::test::TestSkinHost;

namespace {

struct LayoutCase {
    const char* label;
    std::string body;  // the root control of a 400 x 300 window
    std::vector<std::pair<const wchar_t*, RECT>> expected;
};

void PrintTo(const LayoutCase& c, std::ostream* os) { *os << c.label; }

class LayoutTest : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(LayoutTest, PlacesEveryControl) {
    TempSkinFolder folder;
    folder.WriteText(L"l.xml", "<Window size=\"400,300\">" + GetParam().body + "</Window>");
    TestSkinHost host(L"l.xml");
    ASSERT_TRUE(host.Open(RECT{10, 10, 410, 310}));
    for (const auto& [name, rc] : GetParam().expected) {
        CControlUI* control = host.Find(name);
        ASSERT_NE(control, nullptr);
        const RECT pos = control->GetPos();
        EXPECT_EQ(pos.left, rc.left) << testing::PrintToString(std::wstring(name));
        EXPECT_EQ(pos.top, rc.top) << testing::PrintToString(std::wstring(name));
        EXPECT_EQ(pos.right, rc.right) << testing::PrintToString(std::wstring(name));
        EXPECT_EQ(pos.bottom, rc.bottom) << testing::PrintToString(std::wstring(name));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, LayoutTest,
    ::testing::Values(
        LayoutCase{"VerticalFixedThenShared",
                   R"(<VerticalLayout name="v"><Control name="a" height="50"/><Control name="b"/><Control name="c"/></VerticalLayout>)",
                   {{L"v", {0, 0, 400, 300}}, {L"a", {0, 0, 400, 50}}, {L"b", {0, 50, 400, 175}}, {L"c", {0, 175, 400, 300}}}},
        LayoutCase{"VerticalInsetPaddingChildPadding",
                   R"(<VerticalLayout inset="10,20,30,40" childpadding="5"><Control name="a" height="40" padding="2,3,4,6"/><Control name="b" width="100"/></VerticalLayout>)",
                   {{L"a", {12, 23, 366, 63}}, {L"b", {10, 74, 110, 260}}}},
        LayoutCase{"HorizontalFixedThenShared",
                   R"(<HorizontalLayout><Control name="a" width="100"/><Control name="b"/><Control name="c" width="60"/></HorizontalLayout>)",
                   {{L"a", {0, 0, 100, 300}}, {L"b", {100, 0, 340, 300}}, {L"c", {340, 0, 400, 300}}}},
        LayoutCase{"HorizontalShorterChildIsCentred",
                   R"(<HorizontalLayout><Control name="a" width="40" height="100"/></HorizontalLayout>)",
                   {{L"a", {0, 100, 40, 200}}}},
        LayoutCase{"HiddenChildTakesNoSpace",
                   R"(<HorizontalLayout><Control name="a" width="100" visible="false"/><Control name="b"/></HorizontalLayout>)",
                   {{L"b", {0, 0, 400, 300}}}},
        LayoutCase{"FloatingChildAtItsOffset",
                   R"(<VerticalLayout inset="5,5,5,5"><Control name="f" float="true" pos="20,30,120,80"/><Control name="b"/></VerticalLayout>)",
                   {{L"f", {25, 35, 125, 85}}, {L"b", {5, 5, 395, 295}}}},
        LayoutCase{"ContainerStacksChildren",
                   R"(<Container inset="1,2,3,4"><Control name="a"/><Control name="b"/></Container>)",
                   {{L"a", {1, 2, 397, 296}}, {L"b", {1, 2, 397, 296}}}}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(Layout, ShowingAndHidingAControlLaysTheLineOutAgain) {
    TempSkinFolder folder;
    folder.WriteText(L"l.xml", R"(<Window size="300,100"><HorizontalLayout><Control name="a" width="100"/><Control name="b"/></HorizontalLayout></Window>)");
    TestSkinHost host(L"l.xml");
    ASSERT_TRUE(host.Open(RECT{0, 0, 300, 100}));
    CControlUI* a = host.Find(L"a");
    CControlUI* b = host.Find(L"b");
    a->SetVisible(false);
    ASSERT_TRUE(qel::test::PumpUntil([&] { return b->GetPos().left == 0; }));
    a->SetVisible(true);
    ASSERT_TRUE(qel::test::PumpUntil([&] { return b->GetPos().left == 100; }));
}

TEST(Layout, ResizingTheWindowResizesTheTree) {
    TempSkinFolder folder;
    folder.WriteText(L"l.xml", R"(<Window size="300,100"><VerticalLayout name="v"><Control name="top" height="20"/><Control name="rest"/></VerticalLayout></Window>)");
    TestSkinHost host(L"l.xml");
    ASSERT_TRUE(host.Open(RECT{0, 0, 300, 100}));
    SetWindowPos(host.GetHWND(), nullptr, 0, 0, 500, 260, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_EQ(host.Find(L"rest")->GetPos().right, 500);
    EXPECT_EQ(host.Find(L"rest")->GetPos().bottom, 260);
}

TEST(Layout, HigherDpiScalesTheWindowAndTheSkinLengths) {
    TempSkinFolder folder;
    folder.WriteText(L"l.xml", R"(<Window size="200,100"><VerticalLayout><Control name="a" height="20"/><Control name="b"/></VerticalLayout></Window>)");
    TestSkinHost host(L"l.xml");
    ASSERT_TRUE(host.Open(RECT{0, 0, 200, 100}));
    host.Manager().SetDPI(144);
    EXPECT_EQ(host.Manager().GetClientSize().cx, 300);
    EXPECT_EQ(host.Manager().GetClientSize().cy, 150);
    ASSERT_TRUE(qel::test::PumpUntil([&] { return host.Find(L"a")->GetPos().bottom == 30; }));
    EXPECT_EQ(host.Find(L"b")->GetPos().bottom, 150);
}

TEST(Dpi, MainMonitorDpiCanBeInjected) {
    for (int dpi : {96, 120, 144, 192}) {
        CDPI::SetMainMonitorDPIOverride(dpi);
        EXPECT_EQ(CDPI::GetMainMonitorDPI(), dpi);
    }
    CDPI::SetMainMonitorDPIOverride(0);
    EXPECT_GT(CDPI::GetMainMonitorDPI(), 0) << "without an override the system answers";
}

}  // namespace
