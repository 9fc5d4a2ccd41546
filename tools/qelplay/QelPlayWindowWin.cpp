// Windows: a message-only notify window and a top-level video window of the process's
// main thread, whose keys, size and closing are posted back to it as qelplay's messages.
#include "QelPlayWindow.h"

#include "utils/QelString.h"

namespace qelplay {

namespace {

const wchar_t kVideoClass[] = L"QelPlayVideoWindow";

std::optional<PlayCommand> CommandOfKey(WPARAM nKey) {
    switch (nKey) {
    case VK_SPACE: return kTogglePause;
    case VK_LEFT: return kSeekBack;
    case VK_RIGHT: return kSeekAhead;
    case 'F': return kToggleFullScreen;
    case 'Q':
    case VK_ESCAPE: return kQuit;
    default: return std::nullopt;
    }
}

LRESULT CALLBACK VideoWndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
    case WM_CLOSE:
        PostMessageW(hWnd, kPlayCommandMessage, kQuit, 0);
        return 0;
    case WM_KEYDOWN:
        if (auto command = CommandOfKey(wParam)) {
            PostMessageW(hWnd, kPlayCommandMessage, *command, 0);
            return 0;
        }
        break;
    case WM_SIZE:
        PostMessageW(hWnd, kPlayResizedMessage, LOWORD(lParam), HIWORD(lParam));
        return 0;
    default:
        break;
    }
    return DefWindowProcW(hWnd, msg, wParam, lParam);
}

}  // namespace

struct PlayWindow::Impl {
    HWND hNotify = nullptr;
    HWND hVideo = nullptr;
    bool bFullScreen = false;
    WINDOWPLACEMENT placement{};  // where the window was before full screen
};

PlayWindow::PlayWindow(bool bHeadless, const std::string& strTitle) : m_pImpl(std::make_unique<Impl>()) {
    HINSTANCE hInstance = GetModuleHandleW(nullptr);
    m_pImpl->hNotify =
        CreateWindowExW(0, L"STATIC", L"qelplay", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, hInstance, nullptr);
    if (bHeadless)
        return;
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof(wc);
    wc.lpfnWndProc = VideoWndProc;
    wc.hInstance = hInstance;
    wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    wc.lpszClassName = kVideoClass;
    RegisterClassExW(&wc);
    m_pImpl->hVideo =
        CreateWindowExW(0, kVideoClass, QelString::Utf8ToUnicode(strTitle).c_str(), WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                        CW_USEDEFAULT, CW_USEDEFAULT, 672, 416, nullptr, nullptr, hInstance, nullptr);
}

PlayWindow::~PlayWindow() {
    if (m_pImpl->hVideo)
        DestroyWindow(m_pImpl->hVideo);
    if (m_pImpl->hNotify)
        DestroyWindow(m_pImpl->hNotify);
}

bool PlayWindow::IsValid() const {
    return m_pImpl->hNotify != nullptr;
}

HWND PlayWindow::NotifyWindow() const {
    return m_pImpl->hNotify;
}

HWND PlayWindow::RenderWindow() const {
    return m_pImpl->hVideo ? m_pImpl->hVideo : m_pImpl->hNotify;
}

std::optional<RECT> PlayWindow::ClientArea() const {
    RECT rc{};
    if (!m_pImpl->hVideo || !GetClientRect(m_pImpl->hVideo, &rc))
        return std::nullopt;
    return rc;
}

void PlayWindow::SetClientSize(int nWidth, int nHeight) {
    if (!m_pImpl->hVideo || m_pImpl->bFullScreen || nWidth < 1 || nHeight < 1)
        return;
    RECT rc{0, 0, nWidth, nHeight};
    const DWORD dwStyle = static_cast<DWORD>(GetWindowLongPtrW(m_pImpl->hVideo, GWL_STYLE));
    AdjustWindowRectEx(&rc, dwStyle, FALSE, 0);
    SetWindowPos(m_pImpl->hVideo, nullptr, 0, 0, rc.right - rc.left, rc.bottom - rc.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void PlayWindow::ToggleFullScreen() {
    HWND hWnd = m_pImpl->hVideo;
    if (!hWnd)
        return;
    const LONG_PTR style = GetWindowLongPtrW(hWnd, GWL_STYLE);
    if (!m_pImpl->bFullScreen) {
        MONITORINFO monitor{};
        monitor.cbSize = sizeof(monitor);
        m_pImpl->placement.length = sizeof(WINDOWPLACEMENT);
        if (!GetWindowPlacement(hWnd, &m_pImpl->placement) ||
            !GetMonitorInfoW(MonitorFromWindow(hWnd, MONITOR_DEFAULTTOPRIMARY), &monitor))
            return;
        const RECT& rc = monitor.rcMonitor;
        SetWindowLongPtrW(hWnd, GWL_STYLE, style & ~static_cast<LONG_PTR>(WS_OVERLAPPEDWINDOW));
        SetWindowPos(hWnd, HWND_TOP, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top,
                     SWP_NOOWNERZORDER | SWP_FRAMECHANGED);
    } else {
        SetWindowLongPtrW(hWnd, GWL_STYLE, style | WS_OVERLAPPEDWINDOW);
        SetWindowPlacement(hWnd, &m_pImpl->placement);
        SetWindowPos(hWnd, nullptr, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOOWNERZORDER | SWP_FRAMECHANGED);
    }
    m_pImpl->bFullScreen = !m_pImpl->bFullScreen;
}

std::optional<Message> PlayWindow::Next(std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (msg.message >= WM_USER && (msg.hwnd == m_pImpl->hNotify || msg.hwnd == m_pImpl->hVideo))
                return Message{msg.message, msg.wParam, msg.lParam};
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline)
            return std::nullopt;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left), QS_ALLINPUT);
    }
}

}  // namespace qelplay
