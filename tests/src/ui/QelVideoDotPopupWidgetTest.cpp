// The dot pop-up under Wine: what closes it, and that it is destroyed exactly once
// whichever way it goes. Where it sits is the video player window's test.
#include "ui/QelVideoDotPopupWidget.h"

#include "QelUiTestSupport.h"

using namespace qel::test;

namespace {

// Counts its own destructions, so that a double delete shows as a count of two.
class CountingPopup : public QelVideoDotPopupWidget {
public:
    explicit CountingPopup(int& nDestroyed) : m_nDestroyed(nDestroyed) {}
    ~CountingPopup() override { ++m_nDestroyed; }
private:
    int& m_nDestroyed;
};

// Public: the closing paths of the table below reach into it.
class PopupTest : public ::testing::Test {
public:
    PopupTest() {
        m_skins.WriteText(L"thumb.xml", L"<Window size=\"201,120\"><VerticalLayout><Button float=\"1\" "
                                        L"pos=\"5,5,30,30\"/><Button name=\"closebtn\" float=\"1\" "
                                        L"pos=\"150,5,175,30\"/></VerticalLayout></Window>");
    }
    void SetUp() override {
        m_hParent = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 50, 50, 300, 200, nullptr, nullptr,
                                      nullptr, nullptr);
        m_holder.emplace();
    }
    void TearDown() override {
        m_holder.reset();
        ::DestroyWindow(m_hParent);
        PumpPending();
    }

    ScopedDpiOverride m_dpi{96};
    TempSkinFolder m_skins;
    HWND m_hParent = nullptr;
    std::optional<QelVideoDotPopupHolder> m_holder;
};

TEST_F(PopupTest, EveryWayAPopupGoesDestroysItExactlyOnceAndNothingElseClosesIt) {
    const struct { const char* pszWhy; int nDestroyed; std::function<void(PopupTest&, HWND)> fnClose; } kRows[] = {
        {"leaving it, taking its focus or clicking another button", 0,
         [](PopupTest&, HWND hPopup) {
             ::SendMessageW(hPopup, WM_MOUSEMOVE, 0, ClientPoint(100, 60));
             ::SendMessageW(hPopup, WM_MOUSELEAVE, 0, 0);
             ::SendMessageW(hPopup, WM_KILLFOCUS, 0, 0);
             ClickAt(hPopup, 17, 17);
         }},
        {"its close button", 1, [](PopupTest&, HWND hPopup) { ClickAt(hPopup, 162, 17); }},
        {"the owner closes through the holder", 1, [](PopupTest& t, HWND) { t.m_holder->Close(); }},
        {"the owner closes the window itself", 1, [](PopupTest& t, HWND) { t.m_holder->Get()->Close(1); }},
        {"the parent is destroyed", 1, [](PopupTest& t, HWND) { ::DestroyWindow(t.m_hParent); }},
        {"the owner closes, the parent goes before the close arrives", 1,
         [](PopupTest& t, HWND) {
             t.m_holder->Close();
             ::DestroyWindow(t.m_hParent);
         }},
        {"the close button, then the owner closes what it believed open", 1,
         [](PopupTest& t, HWND hPopup) {
             ClickAt(hPopup, 162, 17);
             PumpPending();
             t.m_holder->Close();
         }},
        {"the holder opens the next one", 1,
         [](PopupTest& t, HWND) { t.m_holder->Open(L"thumb.xml", t.m_hParent, 0, 0, nullptr); }},
        {"the holder goes", 1, [](PopupTest& t, HWND) { t.m_holder.reset(); }},
    };
    for (const auto& row : kRows) {
        TearDown();
        SetUp();
        int nDestroyed = 0;
        m_holder->Open(std::make_unique<CountingPopup>(nDestroyed), L"thumb.xml", m_hParent, 500, 400, nullptr);
        const QelVideoDotPopupWidget* pPopup = m_holder->Get();
        const HWND hPopup = pPopup->GetHWND();
        row.fnClose(*this, hPopup);
        PumpPending();
        EXPECT_EQ(nDestroyed, row.nDestroyed) << row.pszWhy;
        EXPECT_EQ(::IsWindow(hPopup) != FALSE, row.nDestroyed == 0) << row.pszWhy;
        EXPECT_EQ(m_holder && m_holder->Get() == pPopup, row.nDestroyed == 0) << row.pszWhy;
    }
}

TEST_F(PopupTest, APopupDeletedOpenOrThatGotNoWindowIsDestroyedOnce) {
    int nDestroyed = 0;
    auto* pPopup = new CountingPopup(nDestroyed);
    ASSERT_TRUE(pPopup->ShowAt(L"thumb.xml", m_hParent, 500, 400, nullptr));
    const HWND hPopup = pPopup->GetHWND();
    delete pPopup;
    PumpPending();
    EXPECT_FALSE(::IsWindow(hPopup));
    // A parent handle that names no window: creation fails and the holder deletes it.
    const HWND hNoWindow = reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFF0001));
    EXPECT_FALSE(m_holder->Open(std::make_unique<CountingPopup>(nDestroyed), L"thumb.xml", hNoWindow, 0, 0, {}));
    EXPECT_EQ(m_holder->Get(), nullptr);
    EXPECT_EQ(nDestroyed, 2);
}

}  // namespace
