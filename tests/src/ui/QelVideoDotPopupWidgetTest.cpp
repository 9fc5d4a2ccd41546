#include "ui/QelVideoDotPopupWidget.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "QelUiTestSupport.h"

using namespace qel::uitest;

namespace {

std::wstring PopupSkin(int cx, int cy) {
    return L"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Window size=\"" + std::to_wstring(cx) + L"," +
           std::to_wstring(cy) + LR"(">
  <VerticalLayout bkcolor="#FF404040">
    <Button name="otherbtn" float="true" pos="5,5,30,30" bkcolor="#FF00FF00" />
    <Button name="closebtn" float="true" pos="150,5,175,30" bkcolor="#FFFF0000" />
  </VerticalLayout>
</Window>
)";
}

// Counts its own destructions, so a double delete shows as a count of two.
class CountingPopup : public QelVideoDotPopupWidget {
public:
    explicit CountingPopup(int* pDestroyed) : m_pDestroyed(pDestroyed) {}
    ~CountingPopup() override { ++*m_pDestroyed; }

private:
    int* m_pDestroyed;
};

// The window the pop-ups hang from.
class ParentWindow {
public:
    ParentWindow() {
        m_hWnd = ::CreateWindowExW(0, L"STATIC", L"qel-popup-parent", WS_POPUP | WS_VISIBLE, 50, 50, 300, 200, nullptr,
                                   nullptr, ::GetModuleHandleW(nullptr), nullptr);
    }
    ~ParentWindow() { Destroy(); }
    ParentWindow(const ParentWindow&) = delete;
    ParentWindow& operator=(const ParentWindow&) = delete;
    HWND Handle() const { return m_hWnd; }
    void Destroy() {
        if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
        m_hWnd = nullptr;
    }

private:
    HWND m_hWnd = nullptr;
};

class PopupTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_skins.WriteText(L"video/thumb200.xml", PopupSkin(200, 120));
        m_skins.WriteText(L"video/thumb201.xml", PopupSkin(201, 121));
        ASSERT_NE(m_parent.Handle(), nullptr);
    }

    TempSkinFolder m_skins;
    ParentWindow m_parent;
};

struct PlacementCase {
    const wchar_t* pszSkin;
    int x;
    int y;
    RECT rcWindow;
    RECT rcReturned;
};

TEST_F(PopupTest, SitsCentredTwentyPixelsAboveThePointAndReportsItTouchingThePoint) {
    const PlacementCase kCases[] = {
        {L"video/thumb200.xml", 500, 400, {400, 260, 600, 380}, {400, 280, 600, 400}},
        {L"video/thumb201.xml", 500, 400, {400, 259, 601, 380}, {400, 279, 601, 400}},  // 201 / 2 = 100
        {L"video/thumb200.xml", 0, 0, {-100, -140, 100, -20}, {-100, -120, 100, 0}},
        {L"video/thumb201.xml", -1, 300, {-101, 159, 100, 280}, {-101, 179, 100, 300}},
    };
    for (const PlacementCase& c : kCases) {
        QelVideoDotPopupHolder holder;
        RECT rcReturned = {};
        EXPECT_TRUE(holder.Open(c.pszSkin, m_parent.Handle(), c.x, c.y, &rcReturned));
        ASSERT_NE(holder.Get(), nullptr);
        const HWND hPopup = holder.Get()->GetHWND();
        RECT rcWindow = {};
        ::GetWindowRect(hPopup, &rcWindow);
        EXPECT_TRUE(::EqualRect(&rcWindow, &c.rcWindow))
            << rcWindow.left << "," << rcWindow.top << "," << rcWindow.right << "," << rcWindow.bottom;
        EXPECT_TRUE(::EqualRect(&rcReturned, &c.rcReturned))
            << rcReturned.left << "," << rcReturned.top << "," << rcReturned.right << "," << rcReturned.bottom;
    }
}

TEST_F(PopupTest, IsACaptionlessToolWindowThatCannotBeDraggedAndIgnoresTheMouseLeaving) {
    int nDestroyed = 0;
    auto* pPopup = new CountingPopup(&nDestroyed);
    RECT rc = {};
    ASSERT_TRUE(pPopup->ShowAt(L"video/thumb200.xml", m_parent.Handle(), 500, 400, &rc));
    const HWND hPopup = pPopup->GetHWND();
    EXPECT_TRUE(::IsWindowVisible(hPopup));
    EXPECT_EQ(::GetWindow(hPopup, GW_OWNER), m_parent.Handle());
    const LONG_PTR style = ::GetWindowLongPtrW(hPopup, GWL_STYLE);
    EXPECT_EQ(style & WS_CAPTION, 0);
    EXPECT_NE(style & WS_POPUP, 0);
    EXPECT_NE(::GetWindowLongPtrW(hPopup, GWL_EXSTYLE) & WS_EX_TOOLWINDOW, 0);
    wchar_t szText[64] = {};
    ::GetWindowTextW(hPopup, szText, 64);
    EXPECT_STREQ(szText, L"QelVideoDotPopupWidget");

    RECT rcClient = {};
    ::GetClientRect(hPopup, &rcClient);
    EXPECT_EQ(rcClient.right, 200) << "the whole window is client area";
    EXPECT_EQ(rcClient.bottom, 120);
    EXPECT_EQ(::SendMessageW(hPopup, WM_NCHITTEST, 0, MAKELPARAM(410, 270)), HTCLIENT);

    ::SendMessageW(hPopup, WM_MOUSEMOVE, 0, ClientPoint(100, 60));
    ::SendMessageW(hPopup, WM_MOUSELEAVE, 0, 0);
    ::SendMessageW(hPopup, WM_KILLFOCUS, 0, 0);
    PumpPending();
    EXPECT_TRUE(::IsWindow(hPopup));
    EXPECT_EQ(nDestroyed, 0);

    // Any other control's click leaves it open; "closebtn" closes it.
    ClickAt(hPopup, 17, 17);
    PumpPending();
    EXPECT_TRUE(::IsWindow(hPopup));
    ClickAt(hPopup, 162, 17);
    ASSERT_TRUE(PumpUntil([&] { return nDestroyed == 1; }));
    EXPECT_FALSE(::IsWindow(hPopup));
    PumpPending();
    EXPECT_EQ(nDestroyed, 1);
}

// Every way a pop-up can go ends in exactly one destruction, and the holder lets go of it.
struct ClosingCase {
    const char* pszPath;
    std::function<void(QelVideoDotPopupHolder&, ParentWindow&, HWND)> fnClose;
};

TEST_F(PopupTest, EveryClosingPathDestroysThePopupExactlyOnce) {
    const ClosingCase kCases[] = {
        {"closebtn",
         [](QelVideoDotPopupHolder&, ParentWindow&, HWND hPopup) { ClickAt(hPopup, 162, 17); }},
        {"owner closes through the holder", [](QelVideoDotPopupHolder& holder, ParentWindow&, HWND) { holder.Close(); }},
        {"owner closes the window and forgets it",
         [](QelVideoDotPopupHolder& holder, ParentWindow&, HWND) { holder.Get()->Close(1); }},
        {"parent destroyed", [](QelVideoDotPopupHolder&, ParentWindow& parent, HWND) { parent.Destroy(); }},
        {"owner closes, then the parent goes before the close arrives",
         [](QelVideoDotPopupHolder& holder, ParentWindow& parent, HWND) {
             holder.Close();
             parent.Destroy();
         }},
        {"closebtn, then the owner closes what it still believes open",
         [](QelVideoDotPopupHolder& holder, ParentWindow&, HWND hPopup) {
             ClickAt(hPopup, 162, 17);
             PumpUntil([&] { return holder.Get() == nullptr; });
             holder.Close();
         }},
    };
    for (const ClosingCase& c : kCases) {
        ParentWindow parent;
        int nDestroyed = 0;
        QelVideoDotPopupHolder holder;
        RECT rc = {};
        ASSERT_TRUE(holder.Open(std::make_unique<CountingPopup>(&nDestroyed), L"video/thumb200.xml", parent.Handle(),
                                500, 400, &rc))
            << c.pszPath;
        const HWND hPopup = holder.Get()->GetHWND();
        c.fnClose(holder, parent, hPopup);
        EXPECT_TRUE(PumpUntil([&] { return nDestroyed == 1; })) << c.pszPath;
        PumpPending();
        EXPECT_EQ(nDestroyed, 1) << c.pszPath;
        EXPECT_FALSE(::IsWindow(hPopup)) << c.pszPath;
        EXPECT_EQ(holder.Get(), nullptr) << c.pszPath;
    }
}

TEST_F(PopupTest, AnOpenPopupDeletedOutrightTakesItsWindowDownOnce) {
    int nDestroyed = 0;
    auto* pPopup = new CountingPopup(&nDestroyed);
    RECT rc = {};
    ASSERT_TRUE(pPopup->ShowAt(L"video/thumb200.xml", m_parent.Handle(), 500, 400, &rc));
    const HWND hPopup = pPopup->GetHWND();
    delete pPopup;
    EXPECT_EQ(nDestroyed, 1);
    EXPECT_FALSE(::IsWindow(hPopup));
    PumpPending();
    EXPECT_EQ(nDestroyed, 1);
}

TEST_F(PopupTest, TheHolderClosesWhatItHoldsWhenItGoesOrOpensTheNext) {
    int nFirst = 0;
    int nSecond = 0;
    HWND hFirst = nullptr;
    HWND hSecond = nullptr;
    {
        QelVideoDotPopupHolder holder;
        RECT rc = {};
        holder.Open(std::make_unique<CountingPopup>(&nFirst), L"video/thumb200.xml", m_parent.Handle(), 500, 400, &rc);
        hFirst = holder.Get()->GetHWND();
        holder.Open(std::make_unique<CountingPopup>(&nSecond), L"video/thumb200.xml", m_parent.Handle(), 520, 400, &rc);
        hSecond = holder.Get()->GetHWND();
        EXPECT_TRUE(PumpUntil([&] { return nFirst == 1; })) << "a new pop-up replaces the open one";
        EXPECT_TRUE(::IsWindow(hSecond));
        EXPECT_EQ(nSecond, 0);
    }
    EXPECT_TRUE(PumpUntil([&] { return nSecond == 1; })) << "the holder's end closes its pop-up";
    PumpPending();
    EXPECT_EQ(nFirst, 1);
    EXPECT_EQ(nSecond, 1);
    EXPECT_FALSE(::IsWindow(hFirst));
    EXPECT_FALSE(::IsWindow(hSecond));
}

TEST_F(PopupTest, APopupThatGotNoWindowIsDeletedAtOnce) {
    int nDestroyed = 0;
    QelVideoDotPopupHolder holder;
    RECT rc = {};
    // A parent handle that names no window: creation fails.
    const HWND hNoWindow = reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFF0001));
    EXPECT_FALSE(holder.Open(std::make_unique<CountingPopup>(&nDestroyed), L"video/thumb200.xml", hNoWindow, 10, 10,
                             &rc));
    EXPECT_EQ(nDestroyed, 1);
    EXPECT_EQ(holder.Get(), nullptr);
}

}  // namespace
