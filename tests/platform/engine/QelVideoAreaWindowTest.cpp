// The engine's video area window on real Win32: a child of the render window that belongs
// to a thread of its own, made from a thread without a message loop, moved from the
// render window's thread, passing the mouse to the render window, gone with its thread.
#include "QelVideoAreaWindow.h"
#include "support/TestWin32.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;
using qel::test::PumpUntil;
using qel::test::WindowRectText;

constexpr wchar_t kParentClass[] = L"QelVideoAreaTestParent";

// Where the render window last saw a double click, as "x,y"; empty for none.
std::string g_strDoubleClick;

LRESULT CALLBACK ParentProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam) {
    if (nMsg == WM_LBUTTONDBLCLK) {
        g_strDoubleClick = std::to_string(static_cast<short>(LOWORD(lParam))) + "," +
                           std::to_string(static_cast<short>(HIWORD(lParam)));
        return 0;
    }
    return DefWindowProcW(hWnd, nMsg, wParam, lParam);
}

// A real top-level render window on this thread, with a client area of 480 x 360.
class ParentWindow {
public:
    ParentWindow() {
        WNDCLASSEXW wc{};
        wc.cbSize = sizeof(wc);
        wc.style = CS_DBLCLKS;
        wc.lpfnWndProc = &ParentProc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = kParentClass;
        RegisterClassExW(&wc);
        RECT rc{0, 0, 480, 360};
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

// The area window made on a thread that pumps nothing and ends at once, while this
// thread, the render window's, goes on pumping.
std::unique_ptr<QelVideoAreaWindow> CreateOnWorker(HWND hParent) {
    std::unique_ptr<QelVideoAreaWindow> pArea;
    std::atomic<bool> bDone{false};
    std::thread worker([&] {
        pArea = QelVideoAreaWindow::Create(hParent);
        bDone = true;
    });
    EXPECT_TRUE(PumpUntil([&] { return bDone.load(); }));
    worker.join();
    return pArea;
}

bool ThreadEnded(DWORD dwThread) {
    HANDLE hThread = OpenThread(SYNCHRONIZE, FALSE, dwThread);
    if (!hThread)
        return true;
    const bool bEnded = WaitForSingleObject(hThread, 0) == WAIT_OBJECT_0;
    CloseHandle(hThread);
    return bEnded;
}

class VideoAreaWindowTest : public ::testing::TestWithParam<bool> {};

TEST_P(VideoAreaWindowTest, IsAPumpedChildAtTheAreaThatPassesClicksOnAndGoesWithItsThread) {
    ParentWindow parent;
    std::unique_ptr<QelVideoAreaWindow> pArea =
        GetParam() ? CreateOnWorker(parent.Handle()) : QelVideoAreaWindow::Create(parent.Handle());
    ASSERT_NE(pArea, nullptr);
    const HWND hArea = pArea->Handle();

    // A child of the render window, outliving the thread that asked for it, on a thread
    // of its own that answers; until told otherwise, over the whole client area.
    ASSERT_TRUE(IsWindow(hArea));
    EXPECT_EQ(GetParent(hArea), parent.Handle());
    EXPECT_TRUE(IsWindowVisible(hArea));
    const DWORD dwAreaThread = GetWindowThreadProcessId(hArea, nullptr);
    EXPECT_NE(dwAreaThread, GetCurrentThreadId());
    DWORD_PTR nResult = 0;
    EXPECT_NE(SendMessageTimeoutW(hArea, WM_NULL, 0, 0, SMTO_ABORTIFHUNG, 5000, &nResult), 0);
    EXPECT_EQ(WindowRectText(hArea), "0,0,480,360");

    pArea->Move(64, 48, 320, 240);
    EXPECT_EQ(WindowRectText(hArea), "64,48,384,288");
    pArea->Move(30, 40, -5, -7);
    EXPECT_EQ(WindowRectText(hArea), "30,40,30,40") << "a negative size is an empty area";
    pArea->Move(64, 48, 320, 240);

    // The render window answers another thread, and resizing it does not wait on the area.
    std::atomic<bool> bAnswered{false};
    std::thread asker([&] {
        DWORD_PTR nIgnored = 0;
        bAnswered = SendMessageTimeoutW(parent.Handle(), WM_NULL, 0, 0, SMTO_ABORTIFHUNG, 3000, &nIgnored) != 0;
    });
    EXPECT_TRUE(PumpUntil([&] { return bAnswered.load(); }, 4s));
    asker.join();
    EXPECT_TRUE(SetWindowPos(parent.Handle(), nullptr, 0, 0, 600, 500, SWP_NOMOVE | SWP_NOZORDER));
    EXPECT_EQ(WindowRectText(hArea), "64,48,384,288") << "the area stays where it was put";

    // A double click in the middle of the area arrives at the render window, at that point
    // of its own client area.
    POINT ptScreen{224, 168};
    ClientToScreen(parent.Handle(), &ptScreen);
    SetForegroundWindow(parent.Handle());
    PumpUntil([] { return false; }, 100ms);
    g_strDoubleClick.clear();
    SetCursorPos(ptScreen.x, ptScreen.y);
    INPUT inputs[4] = {};
    for (int i = 0; i < 4; ++i) {
        inputs[i].type = INPUT_MOUSE;
        inputs[i].mi.dwFlags = (i % 2 == 0) ? MOUSEEVENTF_LEFTDOWN : MOUSEEVENTF_LEFTUP;
    }
    ASSERT_EQ(SendInput(4, inputs, sizeof(INPUT)), 4u);
    EXPECT_TRUE(PumpUntil([] { return !g_strDoubleClick.empty(); }));
    EXPECT_EQ(g_strDoubleClick, "224,168");

    pArea.reset();
    EXPECT_FALSE(IsWindow(hArea));
    EXPECT_TRUE(ThreadEnded(dwAreaThread));
    EXPECT_TRUE(IsWindow(parent.Handle()));
}

INSTANTIATE_TEST_SUITE_P(MadeOn, VideoAreaWindowTest, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                             return std::string(info.param ? "AWorker" : "TheRenderThread");
                         });

TEST(VideoAreaWindow, NeedsALiveRenderWindowAndOutlivingItIsHarmless) {
    EXPECT_EQ(QelVideoAreaWindow::Create(nullptr), nullptr);
    ParentWindow parent;
    std::unique_ptr<QelVideoAreaWindow> pArea = CreateOnWorker(parent.Handle());
    ASSERT_NE(pArea, nullptr);
    const HWND hArea = pArea->Handle();
    const DWORD dwAreaThread = GetWindowThreadProcessId(hArea, nullptr);
    // The render window may go before the engine closes its player: the area window goes
    // with it, and moving or destroying the object afterwards neither hangs nor fails.
    DestroyWindow(parent.Handle());
    EXPECT_TRUE(PumpUntil([&] { return !IsWindow(hArea); }));
    EXPECT_EQ(QelVideoAreaWindow::Create(parent.Handle()), nullptr);
    pArea->Move(1, 2, 3, 4);
    pArea.reset();
    EXPECT_TRUE(ThreadEnded(dwAreaThread));
}

TEST(VideoAreaWindow, SeveralAtOnceEachWithItsOwnThread) {
    // One per player: several players of a process share the class, not the thread, and
    // the class outlives none of them.
    ParentWindow parent;
    auto pFirst = CreateOnWorker(parent.Handle());
    auto pSecond = CreateOnWorker(parent.Handle());
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
    EXPECT_NE(QelVideoAreaWindow::Create(parent.Handle()), nullptr);
}

}  // namespace
