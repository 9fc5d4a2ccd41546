// The engine's video area window on real Win32: a child of the render window that belongs
// to a thread of its own, made from a thread without a message loop, moved from the
// render window's thread, passing the mouse to the render window, gone with its thread.
#include "QelVideoAreaWindow.h"
#include "support/TestWin32.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;
using qel::test::PumpUntil;

constexpr wchar_t kParentClass[] = L"QelVideoAreaTestParent";
constexpr int kClientWidth = 480;
constexpr int kClientHeight = 360;

struct ParentLog {
    std::atomic<int> nDoubleClicks{0};
    std::atomic<long> nLastX{-1};
    std::atomic<long> nLastY{-1};
};
ParentLog g_log;

LRESULT CALLBACK ParentProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam) {
    if (nMsg == WM_LBUTTONDBLCLK) {
        g_log.nLastX = static_cast<short>(LOWORD(lParam));
        g_log.nLastY = static_cast<short>(HIWORD(lParam));
        ++g_log.nDoubleClicks;
        return 0;
    }
    return DefWindowProcW(hWnd, nMsg, wParam, lParam);
}

// A real top-level render window on this thread, with a client area of a known size.
class ParentWindow {
public:
    ParentWindow() {
        WNDCLASSEXW wc{};
        wc.cbSize = sizeof(wc);
        wc.style = CS_DBLCLKS;
        wc.lpfnWndProc = &ParentProc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
        wc.lpszClassName = kParentClass;
        RegisterClassExW(&wc);
        RECT rc{0, 0, kClientWidth, kClientHeight};
        AdjustWindowRect(&rc, WS_OVERLAPPEDWINDOW, FALSE);
        m_hWnd = CreateWindowExW(WS_EX_TOPMOST, kParentClass, L"render window", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 40,
                                 40, rc.right - rc.left, rc.bottom - rc.top, nullptr, nullptr,
                                 GetModuleHandleW(nullptr), nullptr);
        PumpUntil([] { return false; }, 100ms);
    }
    ~ParentWindow() {
        if (IsWindow(m_hWnd))
            DestroyWindow(m_hWnd);
    }
    ParentWindow(const ParentWindow&) = delete;
    ParentWindow& operator=(const ParentWindow&) = delete;

    HWND Handle() const { return m_hWnd; }

private:
    HWND m_hWnd = nullptr;
};

// A window's rectangle in its parent's client coordinates.
RECT RectInParent(HWND hChild, HWND hParent) {
    RECT rc{};
    GetWindowRect(hChild, &rc);
    MapWindowPoints(HWND_DESKTOP, hParent, reinterpret_cast<POINT*>(&rc), 2);
    return rc;
}

bool SameRect(const RECT& a, const RECT& b) {
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

std::string Describe(const RECT& rc) {
    return "(" + std::to_string(rc.left) + ", " + std::to_string(rc.top) + ", " + std::to_string(rc.right) + ", " +
           std::to_string(rc.bottom) + ")";
}

// The area window made on a thread that pumps nothing and ends at once, while this
// thread, the render window's, goes on pumping.
std::unique_ptr<QelVideoAreaWindow> CreateOnWorker(HWND hParent, DWORD* pdwWorker) {
    std::unique_ptr<QelVideoAreaWindow> pArea;
    std::atomic<bool> bDone{false};
    std::thread worker([&] {
        *pdwWorker = GetCurrentThreadId();
        pArea = QelVideoAreaWindow::Create(hParent);
        bDone = true;
    });
    const bool bFinished = PumpUntil([&] { return bDone.load(); });
    worker.join();
    EXPECT_TRUE(bFinished);
    return pArea;
}

// The thread is gone once it cannot be opened or its handle is signalled.
bool ThreadEnded(DWORD dwThread) {
    HANDLE hThread = OpenThread(SYNCHRONIZE, FALSE, dwThread);
    if (!hThread)
        return true;
    const bool bEnded = WaitForSingleObject(hThread, 0) == WAIT_OBJECT_0;
    CloseHandle(hThread);
    return bEnded;
}

struct AreaCase {
    const char* szName;
    bool bOnWorker;  // made on a worker thread, or on the render window's own thread
    RECT rcArea;     // left, top, right, bottom in the render window's client area
};

void PrintTo(const AreaCase& c, std::ostream* os) {
    *os << c.szName;
}

class VideoAreaWindowTest : public ::testing::TestWithParam<AreaCase> {};

TEST_P(VideoAreaWindowTest, IsAPumpedChildAtTheAreaThatPassesClicksOnAndGoesWithItsThread) {
    const AreaCase& c = GetParam();
    ParentWindow parent;
    ASSERT_TRUE(IsWindow(parent.Handle()));
    DWORD dwCreator = GetCurrentThreadId();
    std::unique_ptr<QelVideoAreaWindow> pArea =
        c.bOnWorker ? CreateOnWorker(parent.Handle(), &dwCreator) : QelVideoAreaWindow::Create(parent.Handle());
    ASSERT_NE(pArea, nullptr);
    const HWND hArea = pArea->Handle();

    // A child of the render window, outliving the thread that asked for it, on a thread
    // of its own that answers.
    ASSERT_TRUE(IsWindow(hArea));
    EXPECT_EQ(GetParent(hArea), parent.Handle());
    EXPECT_TRUE(GetWindowLongW(hArea, GWL_STYLE) & WS_CHILD);
    EXPECT_FALSE(GetWindowLongW(hArea, GWL_STYLE) & WS_BORDER);
    EXPECT_TRUE(IsWindowVisible(hArea));
    wchar_t szClass[64] = {};
    GetClassNameW(hArea, szClass, 64);
    EXPECT_STREQ(szClass, L"QelVideoArea");
    const DWORD dwAreaThread = GetWindowThreadProcessId(hArea, nullptr);
    EXPECT_NE(dwAreaThread, GetCurrentThreadId());
    EXPECT_NE(dwAreaThread, dwCreator);
    DWORD_PTR nResult = 0;
    EXPECT_NE(SendMessageTimeoutW(hArea, WM_NULL, 0, 0, SMTO_ABORTIFHUNG, 2000, &nResult), 0);

    // Until told otherwise, the whole client area.
    EXPECT_TRUE(SameRect(RectInParent(hArea, parent.Handle()), RECT{0, 0, kClientWidth, kClientHeight}))
        << Describe(RectInParent(hArea, parent.Handle()));

    pArea->Move(c.rcArea.left, c.rcArea.top, c.rcArea.right - c.rcArea.left, c.rcArea.bottom - c.rcArea.top);
    EXPECT_TRUE(SameRect(RectInParent(hArea, parent.Handle()), c.rcArea))
        << Describe(RectInParent(hArea, parent.Handle())) << " wanted " << Describe(c.rcArea);

    // The render window answers another thread, and resizing it does not wait on the area.
    std::atomic<bool> bAnswered{false};
    std::thread asker([&] {
        DWORD_PTR nIgnored = 0;
        bAnswered = SendMessageTimeoutW(parent.Handle(), WM_NULL, 0, 0, SMTO_ABORTIFHUNG, 3000, &nIgnored) != 0;
    });
    PumpUntil([&] { return bAnswered.load(); }, 4s);
    asker.join();
    EXPECT_TRUE(bAnswered);
    EXPECT_TRUE(SetWindowPos(parent.Handle(), nullptr, 0, 0, 600, 500, SWP_NOMOVE | SWP_NOZORDER));
    EXPECT_TRUE(SameRect(RectInParent(hArea, parent.Handle()), c.rcArea)) << "the area stays where it was put";

    // A double click in the middle of the area arrives at the render window, at that point
    // of its own client area.
    const POINT ptClient{(c.rcArea.left + c.rcArea.right) / 2, (c.rcArea.top + c.rcArea.bottom) / 2};
    POINT ptScreen = ptClient;
    ClientToScreen(parent.Handle(), &ptScreen);
    SetForegroundWindow(parent.Handle());
    PumpUntil([] { return false; }, 100ms);
    g_log.nDoubleClicks = 0;
    SetCursorPos(ptScreen.x, ptScreen.y);
    INPUT inputs[4] = {};
    for (int i = 0; i < 4; ++i) {
        inputs[i].type = INPUT_MOUSE;
        inputs[i].mi.dwFlags = (i % 2 == 0) ? MOUSEEVENTF_LEFTDOWN : MOUSEEVENTF_LEFTUP;
    }
    ASSERT_EQ(SendInput(4, inputs, sizeof(INPUT)), 4u);
    EXPECT_TRUE(PumpUntil([] { return g_log.nDoubleClicks > 0; }));
    EXPECT_EQ(g_log.nLastX, ptClient.x);
    EXPECT_EQ(g_log.nLastY, ptClient.y);

    // Gone with its thread.
    pArea.reset();
    EXPECT_FALSE(IsWindow(hArea));
    EXPECT_TRUE(ThreadEnded(dwAreaThread));
    EXPECT_TRUE(IsWindow(parent.Handle()));
}

INSTANTIATE_TEST_SUITE_P(
    Areas, VideoAreaWindowTest,
    ::testing::Values(AreaCase{"OnWorkerInset", true, RECT{10, 20, 330, 260}},
                      AreaCase{"OnWorkerWholeWindow", true, RECT{0, 0, kClientWidth, kClientHeight}},
                      AreaCase{"OnWorkerSmallCorner", true, RECT{400, 300, 440, 330}},
                      AreaCase{"OnRenderThreadInset", false, RECT{64, 48, 384, 288}}),
    [](const ::testing::TestParamInfo<AreaCase>& info) { return std::string(info.param.szName); });

TEST(VideoAreaWindow, NeedsALiveRenderWindow) {
    EXPECT_EQ(QelVideoAreaWindow::Create(nullptr), nullptr);
    ParentWindow parent;
    const HWND hGone = parent.Handle();
    DestroyWindow(hGone);
    EXPECT_EQ(QelVideoAreaWindow::Create(hGone), nullptr);
}

TEST(VideoAreaWindow, OutlivingItsRenderWindowIsHarmless) {
    // The render window may be destroyed before the engine closes its player: the area
    // window goes with it, and moving or destroying the object afterwards neither hangs
    // nor fails.
    ParentWindow parent;
    DWORD dwCreator = 0;
    std::unique_ptr<QelVideoAreaWindow> pArea = CreateOnWorker(parent.Handle(), &dwCreator);
    ASSERT_NE(pArea, nullptr);
    const HWND hArea = pArea->Handle();
    const DWORD dwAreaThread = GetWindowThreadProcessId(hArea, nullptr);
    DestroyWindow(parent.Handle());
    EXPECT_TRUE(PumpUntil([&] { return !IsWindow(hArea); }));
    pArea->Move(1, 2, 3, 4);
    pArea.reset();
    EXPECT_TRUE(ThreadEnded(dwAreaThread));
}

TEST(VideoAreaWindow, EmptyAndNegativeAreasAreEmptyWindows) {
    ParentWindow parent;
    std::unique_ptr<QelVideoAreaWindow> pArea = QelVideoAreaWindow::Create(parent.Handle());
    ASSERT_NE(pArea, nullptr);
    pArea->Move(30, 40, 0, 0);
    EXPECT_TRUE(SameRect(RectInParent(pArea->Handle(), parent.Handle()), RECT{30, 40, 30, 40}));
    pArea->Move(30, 40, -5, -7);
    EXPECT_TRUE(SameRect(RectInParent(pArea->Handle(), parent.Handle()), RECT{30, 40, 30, 40}));
}

TEST(VideoAreaWindow, SeveralAtOnceEachWithItsOwnThread) {
    // One per player: several players of a process share the class, not the thread, and
    // the class outlives none of them.
    ParentWindow parent;
    DWORD dwCreator = 0;
    auto pFirst = CreateOnWorker(parent.Handle(), &dwCreator);
    auto pSecond = CreateOnWorker(parent.Handle(), &dwCreator);
    ASSERT_NE(pFirst, nullptr);
    ASSERT_NE(pSecond, nullptr);
    EXPECT_NE(GetWindowThreadProcessId(pFirst->Handle(), nullptr),
              GetWindowThreadProcessId(pSecond->Handle(), nullptr));
    pFirst.reset();
    auto pThird = QelVideoAreaWindow::Create(parent.Handle());
    ASSERT_NE(pThird, nullptr);
    pSecond.reset();
    pThird.reset();
    // The last one took the class away; a new one registers it again.
    auto pFourth = QelVideoAreaWindow::Create(parent.Handle());
    EXPECT_NE(pFourth, nullptr);
}

}  // namespace
