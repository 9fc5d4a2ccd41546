// The engine drawing into a real X11 render window, on an Xvfb server the test starts for
// itself: the picture appears in a child window at the video area, follows SetRect, and
// goes with Close. Render windows that are not X11 windows, or no display, play headless.
#include "video/QelVideoEngine.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "EngineTestSupport.h"
#include "support/TestSampleContent.h"
#include "support/TestX11.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

// libvlc keeps the screen awake while it draws into a window, over D-Bus, whose shared
// connection libdbus keeps until the process ends.
// Visible, since the build hides symbols by default and the sanitizer looks for this one.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:libdbus-1.so\n";
}

namespace {

using namespace std::chrono_literals;
using qel::test::Eventually;
using qel::test::Position;
using qel::test::Rect;
using qel::test::XvfbServer;
using Display = qel::test::X11Display;

constexpr int kRenderWidth = 400;
constexpr int kRenderHeight = 300;

HWND RenderWindow(xcb_window_t window) {
    return reinterpret_cast<HWND>(static_cast<std::uintptr_t>(window));
}

void SetArea(QelVideoPlayerHandle player, const Rect& rc) {
    QelVideoPlayerSetRect(player, 0, rc.nLeft, rc.nTop, rc.nWidth, rc.nHeight);
    QelVideoPlayerSetRect(player, 1, rc.nLeft, rc.nTop, rc.nWidth, rc.nHeight);
}

QelVideoPlayerHandle OpenSample(HWND hRenderWnd) {
    std::vector<QelTSItem> none;
    return QelVideoPlayerOpen(qel::test::SampleFileA("plain.mp4").c_str(), &none, hRenderWnd);
}

class EngineOnX11 : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_pServer = XvfbServer::Start();
        if (s_pServer)
            setenv("DISPLAY", s_pServer->Display().c_str(), 1);
    }
    static void TearDownTestSuite() { s_pServer.reset(); }

    void SetUp() override {
#if defined(__SANITIZE_THREAD__)
        // With a display, libvlc's own threads end inside its uninstrumented code in a way
        // ThreadSanitizer cannot follow, whatever the engine draws into. The area window
        // has no threads here; the engine's are covered by the tests without a display.
        GTEST_SKIP() << "ThreadSanitizer cannot follow libvlc once a display is set";
#endif
        if (!QelVlc::Api())
            GTEST_SKIP() << "libvlc is not available here";
        if (!s_pServer)
            GTEST_SKIP() << "Xvfb could not be started";
        m_pDisplay = std::make_unique<Display>(s_pServer->Display());
        ASSERT_TRUE(m_pDisplay->Ok());
    }

    // The one child the engine put in the render window.
    xcb_window_t AreaOf(xcb_window_t render) {
        const std::vector<xcb_window_t> vecChildren = m_pDisplay->Children(render);
        EXPECT_EQ(vecChildren.size(), 1u);
        return vecChildren.empty() ? 0 : vecChildren.front();
    }

    // The picture is drawn: libvlc has its own window inside the area, and something
    // other than black shows there.
    bool PictureShown(xcb_window_t render, xcb_window_t area, const Rect& rc) {
        return !m_pDisplay->Children(area).empty() && !m_pDisplay->PictureExtent(render, rc).Empty();
    }

    // The picture is where the area is: nothing drawn outside it; stretched, it spans the
    // area's width; kept in proportion (the sample is 4:3), a wider area shows it narrower.
    bool LaidOut(xcb_window_t render, xcb_window_t area, const Rect& rc, std::int32_t nRenderType) {
        if (!PictureShown(render, area, rc))
            return false;
        const auto whole = m_pDisplay->PictureExtent(render, Rect{0, 0, kRenderWidth, kRenderHeight});
        if (whole.nFirstColumn < rc.nLeft || whole.nLastColumn >= rc.nLeft + rc.nWidth ||
            whole.nFirstRow < rc.nTop || whole.nLastRow >= rc.nTop + rc.nHeight)
            return false;
        const auto inArea = m_pDisplay->PictureExtent(render, rc);
        const int nSpan = inArea.nLastColumn - inArea.nFirstColumn + 1;
        const int nFitted = rc.nHeight * 4 / 3;
        if (nRenderType == 1 || nFitted >= rc.nWidth)
            return nSpan >= rc.nWidth - 8;
        return nSpan <= nFitted + 8;
    }

    std::string Layout(xcb_window_t render, const Rect& rc) {
        const auto whole = m_pDisplay->PictureExtent(render, Rect{0, 0, kRenderWidth, kRenderHeight});
        std::ostringstream os;
        os << "area " << rc << ", picture in columns " << whole.nFirstColumn << ".." << whole.nLastColumn
           << ", rows " << whole.nFirstRow << ".." << whole.nLastRow;
        return os.str();
    }

    static std::unique_ptr<XvfbServer> s_pServer;
    std::unique_ptr<Display> m_pDisplay;
};
std::unique_ptr<XvfbServer> EngineOnX11::s_pServer;

struct AreaCase {
    const char* szName;
    Rect rcFirst;
    Rect rcSecond;
    std::int32_t nRenderType;
};

void PrintTo(const AreaCase& c, std::ostream* os) {
    *os << c.szName;
}

class EngineOnX11Areas : public EngineOnX11, public ::testing::WithParamInterface<AreaCase> {};

TEST_P(EngineOnX11Areas, DrawsInAChildAtTheAreaThatSetRectMoves) {
    const AreaCase& c = GetParam();
    const xcb_window_t render = m_pDisplay->MakeWindow(kRenderWidth, kRenderHeight);
    QelVideoPlayerHandle player = OpenSample(RenderWindow(render));
    ASSERT_NE(player, nullptr);

    // Before any area is set, the whole render window.
    const xcb_window_t area = AreaOf(render);
    ASSERT_NE(area, 0u);
    EXPECT_EQ(m_pDisplay->Geometry(area), (Rect{0, 0, kRenderWidth, kRenderHeight}));
    EXPECT_TRUE(m_pDisplay->Viewable(area));

    SetArea(player, c.rcFirst);
    EXPECT_EQ(m_pDisplay->Geometry(area), c.rcFirst);
    QelVideoPlayerSetParam(player, QEL_PARAM_RENDER_TYPE, const_cast<std::int32_t*>(&c.nRenderType));
    QelVideoPlayerPlay(player);
    // libvlc follows the area's size on its own thread: the layout is awaited, not sampled.
    EXPECT_TRUE(Eventually([&] { return LaidOut(render, area, c.rcFirst, c.nRenderType); }))
        << Layout(render, c.rcFirst);
    // Held, so that the picture stays for the move (the sample lasts two seconds).
    QelVideoPlayerPause(player);
    ASSERT_TRUE(Eventually([&] { return qel::test::State(player) == QEL_STATE_PAUSED; }));

    // Moved, the same child goes to the new area and the picture with it.
    SetArea(player, c.rcSecond);
    EXPECT_EQ(m_pDisplay->Geometry(area), c.rcSecond);
    EXPECT_EQ(AreaOf(render), area);
    EXPECT_TRUE(Eventually([&] { return LaidOut(render, area, c.rcSecond, c.nRenderType); }))
        << Layout(render, c.rcSecond);

    QelVideoPlayerClose(player);
    EXPECT_TRUE(m_pDisplay->Children(render).empty());
    m_pDisplay->DestroyWindow(render);
}

INSTANTIATE_TEST_SUITE_P(
    Areas, EngineOnX11Areas,
    ::testing::Values(AreaCase{"WideKeptInProportion", {20, 100, 360, 90}, {240, 180, 120, 90}, 0},
                      AreaCase{"WideStretched", {20, 100, 360, 90}, {100, 10, 90, 280}, 1}),
    [](const ::testing::TestParamInfo<AreaCase>& info) { return std::string(info.param.szName); });

TEST_F(EngineOnX11, AnEmptyAreaHidesTheChildAndTheNextShowsItAgain) {
    const xcb_window_t render = m_pDisplay->MakeWindow(kRenderWidth, kRenderHeight);
    QelVideoPlayerHandle player = OpenSample(RenderWindow(render));
    ASSERT_NE(player, nullptr);
    const xcb_window_t area = AreaOf(render);
    SetArea(player, Rect{10, 10, 0, 0});
    EXPECT_FALSE(m_pDisplay->Viewable(area));
    SetArea(player, Rect{10, 10, 100, 80});
    EXPECT_TRUE(m_pDisplay->Viewable(area));
    EXPECT_EQ(m_pDisplay->Geometry(area), (Rect{10, 10, 100, 80}));
    // Area numbers other than 0 and 1 are not areas.
    QelVideoPlayerSetRect(player, 2, 0, 0, 50, 50);
    EXPECT_EQ(m_pDisplay->Geometry(area), (Rect{10, 10, 100, 80}));
    QelVideoPlayerClose(player);
}

TEST_F(EngineOnX11, ARenderWindowDestroyedBeforeCloseIsHarmless) {
    const xcb_window_t render = m_pDisplay->MakeWindow(kRenderWidth, kRenderHeight);
    QelVideoPlayerHandle player = OpenSample(RenderWindow(render));
    ASSERT_NE(player, nullptr);
    const xcb_window_t area = AreaOf(render);
    QelVideoPlayerPlay(player);
    ASSERT_TRUE(Eventually([&] { return PictureShown(render, area, Rect{0, 0, kRenderWidth, kRenderHeight}); }));
    m_pDisplay->DestroyWindow(render);
    SetArea(player, Rect{1, 2, 30, 40});
    QelVideoPlayerClose(player);
}

// A render window that is no X11 window, none at all, or an X11 window while the engine is
// told of a display where no server runs: the video plays without a picture.
TEST_F(EngineOnX11, WithoutAWindowOrADisplayToDrawInPlaysHeadless) {
    const xcb_window_t render = m_pDisplay->MakeWindow(kRenderWidth, kRenderHeight);
    const xcb_window_t gone = m_pDisplay->MakeWindow(50, 50);
    m_pDisplay->DestroyWindow(gone);
    for (HWND hRenderWnd : {RenderWindow(gone), static_cast<HWND>(nullptr), RenderWindow(render)}) {
        if (hRenderWnd == RenderWindow(render))
            setenv("DISPLAY", ":65000", 1);
        QelVideoPlayerHandle player = OpenSample(hRenderWnd);
        ASSERT_NE(player, nullptr);
        EXPECT_TRUE(m_pDisplay->Children(render).empty());
        SetArea(player, Rect{10, 20, 320, 240});
        QelVideoPlayerPlay(player);
        EXPECT_TRUE(Eventually([&] { return Position(player) > 0; }));
        QelVideoPlayerClose(player);
    }
    setenv("DISPLAY", s_pServer->Display().c_str(), 1);
}

}  // namespace
