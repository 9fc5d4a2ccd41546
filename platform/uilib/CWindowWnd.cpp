#include "uilib/CWindowWnd.h"

#include "uilib/CPaintManagerUI.h"

namespace UiLib {

CWindowWnd::~CWindowWnd() {
    // The window procedure must never reach an object that is gone.
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) {
        ::SetWindowLongPtrW(m_hWnd, GWLP_USERDATA, 0);
    }
}

const wchar_t* CWindowWnd::GetSuperClassName() const { return nullptr; }

UINT CWindowWnd::GetClassStyle() const { return 0; }

void CWindowWnd::OnFinalMessage(HWND) {}

HWND CWindowWnd::Create(HWND hwndParent, const wchar_t* pstrName, DWORD dwStyle, DWORD dwExStyle, const RECT rc,
                        HMENU hMenu) {
    return Create(hwndParent, pstrName, dwStyle, dwExStyle, rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top,
                  hMenu);
}

HWND CWindowWnd::Create(HWND hwndParent, const wchar_t* pstrName, DWORD dwStyle, DWORD dwExStyle, int x, int y, int cx,
                        int cy, HMENU hMenu) {
    if (GetSuperClassName() != nullptr ? !RegisterSuperclass() : !RegisterWindowClass()) return nullptr;
    m_hWnd = ::CreateWindowExW(dwExStyle, GetWindowClassName(), pstrName, dwStyle, x, y, cx, cy, hwndParent, hMenu,
                               CPaintManagerUI::GetInstance(), this);
    return m_hWnd;
}

bool CWindowWnd::RegisterWindowClass() {
    WNDCLASSW wc = {};
    wc.style = GetClassStyle();
    wc.lpfnWndProc = CWindowWnd::__WndProc;
    wc.hInstance = CPaintManagerUI::GetInstance();
    wc.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    wc.lpszClassName = GetWindowClassName();
    if (::RegisterClassW(&wc) != 0) return true;
    return ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

bool CWindowWnd::RegisterSuperclass() {
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof(wc);
    if (!::GetClassInfoExW(nullptr, GetSuperClassName(), &wc) &&
        !::GetClassInfoExW(CPaintManagerUI::GetInstance(), GetSuperClassName(), &wc)) {
        return false;
    }
    m_OldWndProc = wc.lpfnWndProc;
    wc.lpfnWndProc = CWindowWnd::__WndProc;
    wc.hInstance = CPaintManagerUI::GetInstance();
    wc.lpszClassName = GetWindowClassName();
    if (::RegisterClassExW(&wc) != 0) return true;
    return ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}

LRESULT CALLBACK CWindowWnd::__WndProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    // Win32 cannot carry an exception back through its own frames: one thrown by a
    // window's handlers ends here, and the message counts as handled with 0.
    try {
        CWindowWnd* pThis = nullptr;
        if (uMsg == WM_NCCREATE) {
            auto* pCreate = reinterpret_cast<LPCREATESTRUCTW>(lParam);
            pThis = static_cast<CWindowWnd*>(pCreate->lpCreateParams);
            pThis->m_hWnd = hWnd;
            ::SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pThis));
        } else {
            pThis = reinterpret_cast<CWindowWnd*>(::GetWindowLongPtrW(hWnd, GWLP_USERDATA));
            if (uMsg == WM_NCDESTROY && pThis != nullptr) {
                const LRESULT lRes = ::CallWindowProcW(pThis->m_OldWndProc, hWnd, uMsg, wParam, lParam);
                ::SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
                pThis->m_hWnd = nullptr;
                pThis->OnFinalMessage(hWnd);
                return lRes;
            }
        }
        if (pThis != nullptr) return pThis->HandleMessage(uMsg, wParam, lParam);
        return ::DefWindowProcW(hWnd, uMsg, wParam, lParam);
    } catch (...) {
        return 0;
    }
}

LRESULT CWindowWnd::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    return ::CallWindowProcW(m_OldWndProc, m_hWnd, uMsg, wParam, lParam);
}

void CWindowWnd::ShowWindow(bool bShow, bool bTakeFocus) {
    if (!::IsWindow(m_hWnd)) return;
    ::ShowWindow(m_hWnd, bShow ? (bTakeFocus ? SW_SHOWNORMAL : SW_SHOWNOACTIVATE) : SW_HIDE);
}

UINT CWindowWnd::ShowModal() {
    if (!::IsWindow(m_hWnd)) return 0;
    UINT nRet = 0;
    const HWND hWndParent = ::GetWindow(m_hWnd, GW_OWNER);
    ::ShowWindow(m_hWnd, SW_SHOWNORMAL);
    if (hWndParent != nullptr) ::EnableWindow(hWndParent, FALSE);
    MSG msg = {};
    const HWND hWnd = m_hWnd;
    while (::IsWindow(hWnd) && ::GetMessageW(&msg, nullptr, 0, 0) > 0) {
        if (msg.hwnd == hWnd && msg.message == WM_CLOSE) nRet = static_cast<UINT>(msg.wParam);
        ::TranslateMessage(&msg);
        ::DispatchMessageW(&msg);
    }
    if (hWndParent != nullptr) {
        ::EnableWindow(hWndParent, TRUE);
        ::SetFocus(hWndParent);
    }
    if (msg.message == WM_QUIT) ::PostQuitMessage(static_cast<int>(msg.wParam));
    return nRet;
}

void CWindowWnd::Close(UINT nRet) {
    if (!::IsWindow(m_hWnd)) return;
    PostMessage(WM_CLOSE, static_cast<WPARAM>(nRet), 0);
}

void CWindowWnd::CenterWindow() {
    if (!::IsWindow(m_hWnd)) return;
    RECT rcDlg = {};
    ::GetWindowRect(m_hWnd, &rcDlg);
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    ::GetMonitorInfoW(::MonitorFromWindow(m_hWnd, MONITOR_DEFAULTTONEAREST), &info);
    const RECT& rcArea = info.rcWork;
    const int cx = rcDlg.right - rcDlg.left;
    const int cy = rcDlg.bottom - rcDlg.top;
    const int x = rcArea.left + (rcArea.right - rcArea.left - cx) / 2;
    const int y = rcArea.top + (rcArea.bottom - rcArea.top - cy) / 2;
    ::SetWindowPos(m_hWnd, nullptr, x, y, -1, -1, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CWindowWnd::ResizeClient(int cx, int cy) {
    RECT rc = {};
    if (!::GetClientRect(m_hWnd, &rc)) return;
    if (cx != -1) rc.right = cx;
    if (cy != -1) rc.bottom = cy;
    const DWORD dwStyle = static_cast<DWORD>(::GetWindowLongPtrW(m_hWnd, GWL_STYLE));
    const DWORD dwExStyle = static_cast<DWORD>(::GetWindowLongPtrW(m_hWnd, GWL_EXSTYLE));
    if (!::AdjustWindowRectEx(&rc, dwStyle, ::GetMenu(m_hWnd) != nullptr, dwExStyle)) return;
    ::SetWindowPos(m_hWnd, nullptr, 0, 0, rc.right - rc.left, rc.bottom - rc.top,
                   SWP_NOZORDER | SWP_NOMOVE | SWP_NOACTIVATE);
}

LRESULT CWindowWnd::SendMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    return ::SendMessageW(m_hWnd, uMsg, wParam, lParam);
}

LRESULT CWindowWnd::PostMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    return ::PostMessageW(m_hWnd, uMsg, wParam, lParam);
}

}  // namespace UiLib
