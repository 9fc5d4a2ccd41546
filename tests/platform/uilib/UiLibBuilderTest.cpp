// Skins from files: what the builder makes of well-formed, custom, broken and missing ones.
#include "support/TestSkinSupport.h"

#include <gtest/gtest.h>

using namespace UiLib;
using qel::test::TempSkinFolder;
using qel::test::TestSkinHost;

namespace {

class CustomControl : public CControlUI {
public:
    const wchar_t* GetClass() const override { return L"CustomUI"; }
};

struct BuildCase {
    const char* label;
    std::string xml;
    const wchar_t* rootClass;  // null: nothing is built
    std::vector<std::pair<const wchar_t*, const wchar_t*>> named;  // name, class
    const wchar_t* errorPart;  // expected in GetLastError, or null for none
};

void PrintTo(const BuildCase& c, std::ostream* os) { *os << c.label; }

class BuilderTest : public ::testing::TestWithParam<BuildCase> {};

TEST_P(BuilderTest, BuildsTheTreeTheSkinDescribes) {
    const BuildCase& c = GetParam();
    TempSkinFolder folder;
    folder.WriteText(L"skin.xml", c.xml);
    TestSkinHost host(L"skin.xml", [](const wchar_t* tag) -> CControlUI* {
        return wcscmp(tag, L"Custom") == 0 ? new CustomControl : nullptr;
    });
    ASSERT_TRUE(host.Create(nullptr, L"builder", WS_POPUP, 0, 0, 0, 100, 100) != nullptr);
    if (c.rootClass == nullptr) {
        EXPECT_EQ(host.Root(), nullptr);
    } else {
        ASSERT_NE(host.Root(), nullptr);
        EXPECT_STREQ(host.Root()->GetClass(), c.rootClass);
    }
    for (const auto& [name, cls] : c.named) {
        CControlUI* control = host.Find(name);
        ASSERT_NE(control, nullptr) << "no control named " << testing::PrintToString(std::wstring(name));
        EXPECT_STREQ(control->GetClass(), cls);
        EXPECT_EQ(control->GetManager(), &host.Manager()) << "every built control belongs to the window";
    }
    if (c.errorPart == nullptr) {
        EXPECT_TRUE(host.BuildError().empty()) << testing::PrintToString(host.BuildError());
    } else {
        EXPECT_NE(host.BuildError().find(c.errorPart), std::wstring::npos)
            << testing::PrintToString(host.BuildError());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Skins, BuilderTest,
    ::testing::Values(
        BuildCase{"NestedLayouts",
                  R"(<?xml version="1.0" encoding="utf-8"?>
<Window size="300,200"><VerticalLayout name="root">
  <HorizontalLayout name="bar" height="40"><Button name="play"/><Option name="opt"/><Text name="time"/></HorizontalLayout>
  <Label name="title" text="&#x4E2D;&#x6587; title"/><Progress name="p"/><Slider name="s"/><Control name="c"/>
  <Container name="box"/>
</VerticalLayout></Window>)",
                  L"VerticalLayoutUI",
                  {{L"bar", L"HorizontalLayoutUI"}, {L"play", L"ButtonUI"}, {L"opt", L"OptionUI"},
                   {L"time", L"TextUI"}, {L"title", L"LabelUI"}, {L"p", L"ProgressUI"}, {L"s", L"SliderUI"},
                   {L"c", L"ControlUI"}, {L"box", L"ContainerUI"}},
                  nullptr},
        BuildCase{"CustomTagFromTheCallback",
                  R"(<Window><HorizontalLayout><Custom name="mine"/></HorizontalLayout></Window>)",
                  L"HorizontalLayoutUI", {{L"mine", L"CustomUI"}}, nullptr},
        BuildCase{"ControlAsDocumentElement", R"(<Label name="alone" text="x"/>)", L"LabelUI",
                  {{L"alone", L"LabelUI"}}, nullptr},
        BuildCase{"UnknownTagIsSkippedAndReported",
                  R"(<Window><VerticalLayout><Gizmo name="g"/><Button name="b"/></VerticalLayout></Window>)",
                  L"VerticalLayoutUI", {{L"b", L"ButtonUI"}}, L"unknown control <Gizmo>"},
        BuildCase{"ChildrenOfAPlainControlAreReported",
                  R"(<Window><Button name="b"><Label/></Button></Window>)", L"ButtonUI", {{L"b", L"ButtonUI"}},
                  L"cannot hold"},
        BuildCase{"MalformedXml", R"(<Window><VerticalLayout></Window>)", nullptr, {}, L"malformed XML"},
        BuildCase{"WindowWithoutControls", R"(<Window size="10,10"/>)", nullptr, {}, L"no control"}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(Builder, MissingSkinFileGivesNullAndSaysWhy) {
    TempSkinFolder folder;
    CDialogBuilder builder;
    EXPECT_EQ(builder.Create(L"nowhere/skin.xml"), nullptr);
    EXPECT_NE(builder.GetLastError().Str().find(L"cannot open"), std::wstring::npos);
    EXPECT_EQ(builder.Create((UINT)101), nullptr) << "resource ids are not skins here";
}

TEST(Builder, WindowAttributesReachThePaintManagerAndSizeTheWindow) {
    TempSkinFolder folder;
    folder.WriteText(L"w.xml", R"(<Window size="320,180" caption="0,0,0,32" sizebox="4,5,6,7" roundcorner="9,9"
        mininfo="100,50" defaultfontcolor="#FF102030"><Font name="Tahoma" size="14" bold="true"/><Control/></Window>)");
    TestSkinHost host(L"w.xml");
    ASSERT_TRUE(host.Create(nullptr, L"attrs", WS_POPUP, 0, 0, 0, 50, 50) != nullptr);
    CPaintManagerUI& pm = host.Manager();
    EXPECT_EQ(pm.GetClientSize().cx, 320);
    EXPECT_EQ(pm.GetClientSize().cy, 180);
    const RECT caption = pm.GetCaptionRect();
    EXPECT_EQ(caption.bottom, 32);
    const RECT box = pm.GetSizeBox();
    EXPECT_EQ(box.left, 4);
    EXPECT_EQ(box.top, 5);
    EXPECT_EQ(box.right, 6);
    EXPECT_EQ(box.bottom, 7);
    EXPECT_EQ(pm.GetRoundCorner().cx, 9);
    EXPECT_EQ(pm.GetMinInfo().cx, 100);
    EXPECT_EQ(pm.GetDefaultFontColor(), 0xFF102030u);
    EXPECT_NE(pm.GetFont(0), nullptr);
    EXPECT_EQ(pm.GetFont(7), pm.GetDefaultFont()) << "an unknown font index falls back to the default";
}

TEST(Builder, CopiedPaintManagerKeepsTheSkinSettingsButNoTree) {
    TempSkinFolder folder;
    folder.WriteText(L"w.xml", R"(<Window size="200,100" caption="0,0,0,20" roundcorner="3,4"><Button name="b"/></Window>)");
    TestSkinHost host(L"w.xml");
    ASSERT_TRUE(host.Create(nullptr, L"copy", WS_POPUP, 0, 0, 0, 50, 50) != nullptr);
    CPaintManagerUI copy;
    copy = host.Manager();
    EXPECT_EQ(copy.GetRoundCorner().cy, 4);
    EXPECT_EQ(copy.GetCaptionRect().bottom, 20);
    EXPECT_EQ(copy.GetInitSize().cx, 200);
    EXPECT_EQ(copy.GetRoot(), nullptr);
    EXPECT_EQ(copy.GetPaintWindow(), nullptr);
    EXPECT_EQ(copy.FindControl(L"b"), nullptr);
}

}  // namespace
