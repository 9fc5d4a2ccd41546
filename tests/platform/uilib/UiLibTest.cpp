// The toolkit in real windows under Wine: what the builder makes of broken skins, where
// layouts place controls, when a click is a click, and posted notifications. The player
// windows' tests and the skin screenshots use the rest of it as the players do.
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "support/TestSkinSupport.h"

using namespace UiLib;
using namespace qel::test;

namespace {

struct UiLibTest : ::testing::Test {
    // A shown window on the skin text.
    TestSkinHost& Open(const std::wstring& strXml, RECT rc = {10, 10, 410, 310}) {
        folder.WriteText(L"skin.xml", strXml);
        host.emplace(L"skin.xml");
        EXPECT_TRUE(host->Open(rc) || host->Root() == nullptr);
        host->notifications.clear();
        return *host;
    }
    // The host's rectangle of each named control: "a=0,0,400,50 b=...".
    std::string Places(std::initializer_list<const wchar_t*> names) {
        std::string strPlaces;
        for (const wchar_t* szName : names)
            strPlaces += char(szName[0]) + ("=" + RectText(host->Find(szName)->GetPos())) + " ";
        return strPlaces;
    }

    TempSkinFolder folder;
    std::optional<TestSkinHost> host;
};

TEST_F(UiLibTest, BuildsWhatItCanOfASkinAndNothingOfABrokenOne) {
    const struct { const wchar_t* pszXml; bool bBuilt; } kRows[] = {
        {L"<Window><VerticalLayout><Gizmo/><Button name=\"b\"/></VerticalLayout></Window>", true},  // skips <Gizmo>
        {L"<Label name=\"b\"/>", true},                                        // a control as the document
        {L"<Window><Button><Label name=\"b\"/></Button></Window>", false},       // a plain control holds nothing
        {L"<Window><VerticalLayout><Label name=\"b\"/></Window>", false},        // malformed
    };
    for (const auto& row : kRows) {
        TestSkinHost& window = Open(row.pszXml);
        EXPECT_EQ(window.Find(L"b") != nullptr, row.bBuilt) << testing::PrintToString(std::wstring(row.pszXml));
        EXPECT_TRUE(!row.bBuilt || window.Find(L"b")->GetManager() == &window.Manager());
    }
}

TEST_F(UiLibTest, LayoutsPlaceEveryControlAndPlaceThemAgainOnAChange) {
    // Plain stacking is the sample skins' everyday fare, whose bars are checked at four sizes
    // and painted at six; here the exact arithmetic of insets, paddings, floats and hiding.
    const struct { const wchar_t* pszBody; const char* pszPlaces; } kRows[] = {  // in a 400 x 300 window
        {L"<VerticalLayout inset=\"10,20,30,40\" childpadding=\"5\"><Control name=\"a\" height=\"40\" "
         L"padding=\"2,3,4,6\"/><Control name=\"b\" width=\"100\"/><Control name=\"c\" float=\"1\" "
         L"pos=\"20,30,120,80\"/></VerticalLayout>",
         "a=12,23,366,63 b=10,74,110,260 c=30,50,130,100 "},
        {L"<HorizontalLayout><Control name=\"a\" width=\"100\" visible=\"false\"/><Control name=\"b\"/>"
         L"<Control name=\"c\" width=\"40\" height=\"100\"/></HorizontalLayout>",
         "a=0,0,0,0 b=0,0,360,300 c=360,100,400,200 "},
    };
    for (const auto& row : kRows) {
        Open(L"<Window size=\"400,300\">" + std::wstring(row.pszBody) + L"</Window>");
        EXPECT_EQ(Places({L"a", L"b", L"c"}), row.pszPlaces);
    }
    // The last one again in a bigger window, then at a higher DPI: the skin's lengths scale too.
    ::SetWindowPos(*host, nullptr, 0, 0, 500, 260, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_EQ(Places({L"b", L"c"}), "b=0,0,460,260 c=460,80,500,180 ");
    host->Manager().SetDPI(144);
    Repaint(*host);
    EXPECT_EQ(Places({L"b", L"c"}), "b=0,0,690,390 c=690,120,750,270 ");
}

TEST_F(UiLibTest, AClickNeedsPressAndReleaseOnAnEnabledButtonAndPassesMouseTransparentControls) {
    Open(L"<Window size=\"400,100\"><HorizontalLayout><Button name=\"btn\" width=\"100\"/><Control/>"
         L"<Label float=\"true\" pos=\"50,0,100,100\" mouse=\"false\"/></HorizontalLayout></Window>", {0, 0, 400, 100});
    const struct { int nDown, nUp; bool bEnabled; int nClicks; } kRows[] = {
        {10, 90, true, 1}, {10, 150, true, 0}, {75, 75, true, 1}, {10, 10, false, 0}};
    for (const auto& row : kRows) {
        host->notifications.clear();
        host->Find(L"btn")->SetEnabled(row.bEnabled);
        ::SendMessageW(*host, WM_LBUTTONDOWN, MK_LBUTTON, ClientPoint(row.nDown, 50));
        ::SendMessageW(*host, WM_MOUSEMOVE, MK_LBUTTON, ClientPoint(row.nUp, 50));
        ::SendMessageW(*host, WM_LBUTTONUP, 0, ClientPoint(row.nUp, 50));
        EXPECT_EQ(host->Count(L"click"), row.nClicks) << row.nDown << "->" << row.nUp;
    }
}

TEST_F(UiLibTest, APostedNotificationArrivesAfterTheEventAndOnlyWhileItsSenderLives) {
    Open(L"<Window><HorizontalLayout name=\"bar\"><Button name=\"b\"/><Button name=\"c\"/></HorizontalLayout>"
         L"</Window>");
    host->Manager().SendNotify(host->Find(L"b"), L"later", 7, 8, true);
    host->Manager().SendNotify(host->Find(L"c"), L"orphan", 0, 0, true);
    EXPECT_EQ(host->Count(L"later"), 0);
    ASSERT_TRUE(host->Find<CContainerUI>(L"bar")->Remove(host->Find(L"c")));
    PumpPending();
    EXPECT_EQ(host->notifications.back().strType + L" " + std::to_wstring(host->notifications.size()), L"later 1");
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
