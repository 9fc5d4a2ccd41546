#include "ui/QelVideoUI.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "QelUiTestSupport.h"
#include "QelUiTestWindow.h"
#include "ui/QelVideoWindow.h"
#include "video/QelMessages.h"
#include "video/QelVideoPlayerManager.h"

using namespace qel::uitest;

namespace {

// The surface over the whole window but a 40-pixel bar at the bottom.
std::wstring SurfaceSkin(const std::wstring& strColorAttribute) {
    return LR"(<?xml version="1.0" encoding="utf-8"?>
<Window size="320,240">
  <VerticalLayout name="root" bkcolor="#FF00FF00">
    <VerticalLayout name="stage">
      <QelVideoUI name="video_area" )" +
           strColorAttribute + LR"( />
    </VerticalLayout>
    <HorizontalLayout name="bar" height="40" bkcolor="#FF202020" />
  </VerticalLayout>
</Window>
)";
}

RECT ChildRectInParent(HWND hChild) {
    RECT rc = {};
    ::GetWindowRect(hChild, &rc);
    ::MapWindowPoints(nullptr, ::GetParent(hChild), reinterpret_cast<POINT*>(&rc), 2);
    return rc;
}

bool SameRect(const RECT& a, const RECT& b) { return ::EqualRect(&a, &b) != FALSE; }

class VideoSurfaceTest : public ::testing::Test {
protected:
    void SetUp() override { UiLib::CDPI::SetMainMonitorDPIOverride(96); }
    void TearDown() override {
        m_window.reset();
        UiLib::CDPI::SetMainMonitorDPIOverride(0);
    }

    void Open(const std::wstring& strColorAttribute = L"videobkcolor=\"#FF336699\"") {
        m_skins.WriteText(L"video/surface.xml", SurfaceSkin(strColorAttribute));
        m_window = std::make_unique<TestPlayerWindow>(L"video/surface.xml");
        ASSERT_NE(m_window->CreateAt(200, 150, 320, 240), nullptr);
        PumpPending();
        ::UpdateWindow(*m_window);
        m_pVideo = m_window->Find<QelVideoUI>(L"video_area");
        ASSERT_NE(m_pVideo, nullptr);
        ASSERT_NE(m_pVideo->GetVideoWindow(), nullptr);
        m_hChild = m_pVideo->GetVideoWindow()->GetHWND();
        ASSERT_TRUE(::IsWindow(m_hChild));
    }

    // Waits for one of the component's messages to reach the player window.
    bool ReceivedAt(UINT uMsg, ReceivedMessage* pOut) {
        return PumpUntil([&] {
            for (const auto& rec : m_window->m_vecReceived) {
                if (rec.message == uMsg) {
                    *pOut = rec;
                    return true;
                }
            }
            return false;
        });
    }
    size_t CountReceived(UINT uMsg) {
        PumpPending();
        size_t n = 0;
        for (const auto& rec : m_window->m_vecReceived) n += rec.message == uMsg ? 1 : 0;
        return n;
    }

    TempSkinFolder m_skins;
    std::unique_ptr<TestPlayerWindow> m_window;
    QelVideoUI* m_pVideo = nullptr;
    HWND m_hChild = nullptr;
};

struct ColorCase {
    const wchar_t* pszAttribute;
    DWORD dwColor;
    COLORREF crPainted;
};

TEST_F(VideoSurfaceTest, TheChildPaintsTheBackgroundColourOfTheSkin) {
    const ColorCase kCases[] = {
        {L"videobkcolor=\"FF336699\"", 0xFF336699, RGB(0x33, 0x66, 0x99)},
        {L"videobkcolor=\"#FF336699\"", 0xFF336699, RGB(0x33, 0x66, 0x99)},
        {L"videobkcolor=\"FF000000\"", 0xFF000000, RGB(0, 0, 0)},
        {L"videobkcolor=\"#80C01020\"", 0x80C01020, RGB(0xC0, 0x10, 0x20)},  // alpha dropped
        {L"", 0xFFFFFFFF, RGB(255, 255, 255)},
    };
    for (const ColorCase& c : kCases) {
        Open(c.pszAttribute);
        EXPECT_EQ(m_pVideo->GetVideoBkColor(), c.dwColor) << "skin: " << testing::PrintToString(std::wstring(c.pszAttribute));
        ::InvalidateRect(m_hChild, nullptr, TRUE);
        ::UpdateWindow(m_hChild);
        for (POINT pt : {POINT{0, 0}, POINT{160, 100}, POINT{319, 199}}) {
            EXPECT_EQ(ReadPixel(m_hChild, pt.x, pt.y), c.crPainted)
                << "at " << pt.x << "," << pt.y << " skin: " << testing::PrintToString(std::wstring(c.pszAttribute));
        }
        m_window.reset();
    }
}

TEST_F(VideoSurfaceTest, ALaterColourDoesNotReachAnExistingChild) {
    Open();
    m_pVideo->SetVideoBkColor(0xFF000000);
    EXPECT_EQ(m_pVideo->GetVideoBkColor(), 0xFF000000u);
    ::InvalidateRect(m_hChild, nullptr, TRUE);
    ::UpdateWindow(m_hChild);
    EXPECT_EQ(ReadPixel(m_hChild, 10, 10), RGB(0x33, 0x66, 0x99));
}

TEST_F(VideoSurfaceTest, TheChildCoversTheControlAndFollowsItsPosition) {
    Open();
    EXPECT_EQ(::GetParent(m_hChild), m_window->GetHWND());
    EXPECT_TRUE(::IsWindowVisible(m_hChild));
    EXPECT_TRUE(SameRect(ChildRectInParent(m_hChild), m_pVideo->GetPos()));
    EXPECT_TRUE(SameRect(m_pVideo->GetPos(), RECT{0, 0, 320, 200}));

    // A bigger window lays the tree out again and the child goes with the control.
    ::SetWindowPos(*m_window, nullptr, 0, 0, 420, 300, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    ASSERT_TRUE(PumpUntil([&] {
        ::UpdateWindow(*m_window);
        return SameRect(m_pVideo->GetPos(), RECT{0, 0, 420, 260});
    }));
    EXPECT_TRUE(SameRect(ChildRectInParent(m_hChild), RECT{0, 0, 420, 260}));

    // A position given directly moves the child too.
    m_pVideo->SetPos(RECT{10, 20, 110, 90});
    EXPECT_TRUE(SameRect(ChildRectInParent(m_hChild), RECT{10, 20, 110, 90}));
}

TEST_F(VideoSurfaceTest, VisibilityFollowsTheControlAndAnyLayoutShowsTheChildAgain) {
    Open();
    struct Step {
        const char* pszName;
        std::function<void()> fn;
        bool bVisible;
    };
    auto* pStage = m_window->Find<UiLib::CContainerUI>(L"stage");
    ASSERT_NE(pStage, nullptr);
    const Step kSteps[] = {
        {"hide the control", [&] { m_pVideo->SetVisible(false); }, false},
        {"show the control", [&] { m_pVideo->SetVisible(true); }, true},
        {"hide again", [&] { m_pVideo->SetVisible(false); }, false},
        {"a position shows it", [&] { m_pVideo->SetPos(RECT{0, 0, 100, 100}); }, true},
        {"hide the container", [&] { pStage->SetVisible(false); }, false},
        {"show the container", [&] { pStage->SetVisible(true); }, true},
    };
    for (const Step& step : kSteps) {
        step.fn();
        EXPECT_EQ(::IsWindowVisible(m_hChild) != FALSE, step.bVisible) << step.pszName;
    }
}

struct ForwardCase {
    UINT uMsg;
    WPARAM wParam;
    LPARAM lParam;
};

TEST_F(VideoSurfaceTest, EngineMessagesAreForwardedWithTheirParameters) {
    Open();
    const ForwardCase kCases[] = {
        {QEL_VIDEO_SEEK_TS, 7, 0x1234},
        {QEL_VIDEO_SEEK_TS, 0, -1},
        {QEL_VIDEO_PLAYER_EVENT, QEL_VIDEO_EVENT_END, 0},
        {QEL_VIDEO_PLAYER_EVENT, 0xFFFFFFFF, 0x7FFFFFFF},
    };
    for (const ForwardCase& c : kCases) {
        m_window->m_vecReceived.clear();
        // As the engine does: posted to the render window.
        ASSERT_TRUE(::PostMessageW(m_hChild, c.uMsg, c.wParam, c.lParam));
        ReceivedMessage rec;
        ASSERT_TRUE(ReceivedAt(c.uMsg, &rec)) << c.uMsg;
        EXPECT_EQ(rec.wParam, c.wParam);
        EXPECT_EQ(rec.lParam, c.lParam);
        EXPECT_EQ(CountReceived(c.uMsg), 1u);
        // Sent rather than posted, the render window answers 0 and still posts.
        EXPECT_EQ(::SendMessageW(m_hChild, c.uMsg, c.wParam, c.lParam), 0);
        EXPECT_EQ(CountReceived(c.uMsg), 2u);
    }
}

TEST_F(VideoSurfaceTest, DoubleClicksAreForwardedOnceAPlayerIsKnown) {
    Open();
    const LPARAM lPoint = ClientPoint(50, 60);
    ::SendMessageW(m_hChild, WM_LBUTTONDBLCLK, MK_LBUTTON, lPoint);
    EXPECT_EQ(CountReceived(QEL_VIDEO_WINDOW_DBCLICK), 0u) << "no player yet";

    QelVideoPlayerManager manager;
    m_pVideo->SetVideoPlayer(&manager);
    EXPECT_EQ(m_pVideo->GetVideoWindow()->m_pVideoPlayer, &manager);
    EXPECT_EQ(::SendMessageW(m_hChild, WM_LBUTTONDBLCLK, MK_LBUTTON, lPoint), 0);
    ReceivedMessage rec;
    ASSERT_TRUE(ReceivedAt(QEL_VIDEO_WINDOW_DBCLICK, &rec));
    EXPECT_EQ(rec.wParam, 0u);
    EXPECT_EQ(rec.lParam, 0);
    EXPECT_EQ(CountReceived(QEL_VIDEO_WINDOW_DBCLICK), 1u);

    m_pVideo->SetVideoPlayer(nullptr);
    ::SendMessageW(m_hChild, WM_LBUTTONDBLCLK, MK_LBUTTON, lPoint);
    EXPECT_EQ(CountReceived(QEL_VIDEO_WINDOW_DBCLICK), 1u);
}

TEST_F(VideoSurfaceTest, MouseMovesAndReleasesGoToTheCallbacksAndAreSwallowed) {
    Open();
    EXPECT_EQ(::SendMessageW(m_hChild, WM_MOUSEMOVE, 0, ClientPoint(5, 5)), 0) << "no callback yet";
    EXPECT_EQ(::SendMessageW(m_hChild, WM_LBUTTONUP, 0, ClientPoint(5, 5)), 0) << "no callback yet";

    int nMoves = 0;
    int nUps = 0;
    m_pVideo->SetVideoWindowMouseMoveCallback([&] { ++nMoves; });
    m_pVideo->SetVideoWindowMouseUpCallback([&] { ++nUps; });
    struct Case {
        UINT uMsg;
        int nMoves;
        int nUps;
    };
    for (const Case& c : {Case{WM_MOUSEMOVE, 1, 0}, Case{WM_MOUSEMOVE, 2, 0}, Case{WM_LBUTTONUP, 2, 1},
                          Case{WM_LBUTTONDOWN, 2, 1}}) {
        ::SendMessageW(m_hChild, c.uMsg, 0, ClientPoint(5, 5));
        EXPECT_EQ(nMoves, c.nMoves) << c.uMsg;
        EXPECT_EQ(nUps, c.nUps) << c.uMsg;
    }
    // A new callback replaces the old one.
    int nOther = 0;
    m_pVideo->SetVideoWindowMouseUpCallback([&] { ++nOther; });
    ::SendMessageW(m_hChild, WM_LBUTTONUP, 0, ClientPoint(5, 5));
    EXPECT_EQ(nUps, 1);
    EXPECT_EQ(nOther, 1);
}

TEST_F(VideoSurfaceTest, TheChildGoesWithTheLastControlSharingIt) {
    Open();
    {
        QelVideoUI copy(*m_pVideo);
        EXPECT_EQ(copy.GetVideoWindow(), m_pVideo->GetVideoWindow()) << "a copy shares the child";
    }
    EXPECT_TRUE(::IsWindow(m_hChild)) << "the original still holds it";
    auto* pStage = m_window->Find<UiLib::CContainerUI>(L"stage");
    ASSERT_NE(pStage, nullptr);
    ASSERT_TRUE(pStage->Remove(m_pVideo));  // deletes the control
    EXPECT_FALSE(::IsWindow(m_hChild));
    EXPECT_TRUE(::IsWindow(*m_window));
}

}  // namespace
