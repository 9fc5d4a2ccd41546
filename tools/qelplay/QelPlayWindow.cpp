#include "QelPlayWindow.h"

#ifdef _WIN32

namespace qelplay {

namespace {

const wchar_t kVideoClass[] = L"QelPlayVideoWindow";

LRESULT CALLBACK VideoWndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    if (msg == WM_CLOSE) {
        PostMessageW(hWnd, WM_APP + 0x3FFF, 0, 0);  // tells Next that the user closed it
        return 0;
    }
    return DefWindowProcW(hWnd, msg, wParam, lParam);
}

}  // namespace

struct PlayWindow::Impl {
    HWND hNotify = nullptr;
    HWND hVideo = nullptr;
};

PlayWindow::PlayWindow(bool bHeadless) : m_pImpl(std::make_unique<Impl>()) {
    HINSTANCE hInstance = GetModuleHandleW(nullptr);
    m_pImpl->hNotify = CreateWindowExW(0, L"STATIC", L"qelplay", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, hInstance, nullptr);
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
    m_pImpl->hVideo = CreateWindowExW(0, kVideoClass, L"qelplay", WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT,
                                      CW_USEDEFAULT, 672, 416, nullptr, nullptr, hInstance, nullptr);
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

std::optional<Message> PlayWindow::Next(std::chrono::milliseconds timeout, bool& bClosed) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        MSG msg;
        while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (msg.message == WM_APP + 0x3FFF) {
                bClosed = true;
                return std::nullopt;
            }
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

#else

#include "winapi/QelMessageQueue.h"

namespace qelplay {

struct PlayWindow::Impl {
    qel::MessageQueue queue;
};

PlayWindow::PlayWindow(bool) : m_pImpl(std::make_unique<Impl>()) {}

PlayWindow::~PlayWindow() = default;

bool PlayWindow::IsValid() const {
    return true;
}

HWND PlayWindow::NotifyWindow() const {
    return m_pImpl->queue.Handle();
}

HWND PlayWindow::RenderWindow() const {
    return m_pImpl->queue.Handle();
}

std::optional<Message> PlayWindow::Next(std::chrono::milliseconds timeout, bool&) {
    auto posted = m_pImpl->queue.Receive(timeout);
    if (!posted)
        return std::nullopt;
    return Message{posted->message, posted->wParam, posted->lParam};
}

}  // namespace qelplay

#endif
