#include "QelVideoAreaWindow.h"

#include <algorithm>

namespace {

constexpr wchar_t kClassName[] = L"QelVideoArea";
// Private to the class: "move to the stored area" and, as a thread message, "finish".
constexpr UINT kApplyAreaMessage = WM_APP + 0x0A1;
constexpr UINT kFinishMessage = WM_APP + 0x0A2;
// Bounds a move when the window's thread is stuck; it only ever does window work.
constexpr UINT kMoveTimeoutMs = 2000;

HINSTANCE ThisModule() {
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&ThisModule), &hModule);
    return hModule;
}

// The class lives while a window of it does: a DLL's classes outlive its unloading
// otherwise, with their window procedure gone.
std::mutex g_classMutex;
int g_nClassUsers = 0;

bool AcquireClass(WNDPROC pProc) {
    std::lock_guard<std::mutex> lock(g_classMutex);
    if (g_nClassUsers == 0) {
        WNDCLASSEXW wc{};
        wc.cbSize = sizeof(wc);
        wc.lpfnWndProc = pProc;
        wc.hInstance = ThisModule();
        wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
        wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
        wc.lpszClassName = kClassName;
        if (!RegisterClassExW(&wc) && GetLastError() != ERROR_CLASS_ALREADY_EXISTS)
            return false;
    }
    ++g_nClassUsers;
    return true;
}

void ReleaseClass() {
    std::lock_guard<std::mutex> lock(g_classMutex);
    if (--g_nClassUsers == 0)
        UnregisterClassW(kClassName, ThisModule());
}

// Waits for one of the handles while still answering messages sent to this thread: the
// waiting thread may own the render window, to which the area window's thread sends.
bool WaitAnswering(const HANDLE* pHandles, DWORD nCount) {
    for (;;) {
        const DWORD nResult = MsgWaitForMultipleObjectsEx(nCount, pHandles, INFINITE, QS_SENDMESSAGE, 0);
        if (nResult < WAIT_OBJECT_0 + nCount)
            return true;
        if (nResult != WAIT_OBJECT_0 + nCount)
            return false;
        MSG msg;
        PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);  // runs the sent ones
    }
}

}  // namespace

std::unique_ptr<QelVideoAreaWindow> QelVideoAreaWindow::Create(HWND hRenderWnd) {
    if (!hRenderWnd || !IsWindow(hRenderWnd))
        return nullptr;
    std::unique_ptr<QelVideoAreaWindow> self(new QelVideoAreaWindow(hRenderWnd));
    if (!self->Start())
        return nullptr;
    return self;
}

bool QelVideoAreaWindow::Start() {
    RECT rcClient{};
    if (!GetClientRect(m_hRenderWnd, &rcClient))
        return false;
    m_rcArea = rcClient;
    m_hReady = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!m_hReady)
        return false;
    m_hThread = CreateThread(nullptr, 0, &QelVideoAreaWindow::ThreadMain, this, 0, &m_dwThreadId);
    if (!m_hThread)
        return false;
    // Ready, or the thread gave up.
    const HANDLE handles[] = {m_hReady, m_hThread};
    WaitAnswering(handles, 2);
    return m_hWnd != nullptr;
}

QelVideoAreaWindow::~QelVideoAreaWindow() {
    if (m_hThread) {
        // A thread message, as the window may already be gone with its parent.
        PostThreadMessageW(m_dwThreadId, kFinishMessage, 0, 0);
        WaitAnswering(&m_hThread, 1);
        CloseHandle(m_hThread);
    }
    if (m_hReady)
        CloseHandle(m_hReady);
}

DWORD WINAPI QelVideoAreaWindow::ThreadMain(LPVOID pSelf) {
    auto* self = static_cast<QelVideoAreaWindow*>(pSelf);
    // The queue first: the owner may post the finish message as soon as it hears of ready.
    MSG msg;
    PeekMessageW(&msg, nullptr, 0, 0, PM_NOREMOVE);
    if (!AcquireClass(&QelVideoAreaWindow::WindowProc)) {
        SetEvent(self->m_hReady);
        return 0;
    }
    const RECT rc = self->m_rcArea;
    // Disabled, it is passed over when the system looks for the window under the mouse, so
    // clicks and double clicks go to the render window itself, on its own thread and in its
    // own coordinates, as they do past libvlc's window when its mouse input is off. (A hit
    // test answered "transparent" would pass them only to windows of this same thread.)
    // No parent notification: the render window's thread may be waiting for this one.
    const HWND hWnd = CreateWindowExW(WS_EX_NOPARENTNOTIFY, kClassName, L"",
                                      WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_CLIPCHILDREN | WS_DISABLED,
                                      rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top, self->m_hRenderWnd,
                                      nullptr, ThisModule(), self);
    self->m_hWnd = hWnd;
    SetEvent(self->m_hReady);
    if (hWnd) {
        while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
            if (msg.hwnd == nullptr && msg.message == kFinishMessage) {
                if (IsWindow(hWnd))
                    DestroyWindow(hWnd);
                break;
            }
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    }
    ReleaseClass();
    return 0;
}

LRESULT CALLBACK QelVideoAreaWindow::WindowProc(HWND hWnd, UINT nMsg, WPARAM wParam, LPARAM lParam) {
    if (nMsg == WM_NCCREATE) {
        const auto* pCreate = reinterpret_cast<const CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pCreate->lpCreateParams));
    }
    auto* self = reinterpret_cast<QelVideoAreaWindow*>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    if (nMsg == kApplyAreaMessage && self) {
        self->ApplyArea(hWnd);
        return 0;
    }
    if (nMsg == WM_NCDESTROY) {
        // Also when the render window took it down with itself: nothing is left to pump.
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
        PostQuitMessage(0);
    }
    return DefWindowProcW(hWnd, nMsg, wParam, lParam);
}

void QelVideoAreaWindow::Move(std::int32_t nLeft, std::int32_t nTop, std::int32_t nWidth, std::int32_t nHeight) {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::int32_t nRight = nLeft + std::max<std::int32_t>(nWidth, 0);
        const std::int32_t nBottom = nTop + std::max<std::int32_t>(nHeight, 0);
        m_rcArea = RECT{nLeft, nTop, nRight, nBottom};
    }
    // Sent, so that the area is in place on return; the area itself travels in the member,
    // never on this stack, which a timed-out send would leave behind.
    DWORD_PTR nIgnored = 0;
    SendMessageTimeoutW(m_hWnd, kApplyAreaMessage, 0, 0, SMTO_NORMAL, kMoveTimeoutMs, &nIgnored);
}

void QelVideoAreaWindow::ApplyArea(HWND hWnd) {
    RECT rc;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        rc = m_rcArea;
    }
    SetWindowPos(hWnd, nullptr, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}
