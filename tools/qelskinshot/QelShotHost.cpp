#include "QelShotHost.h"

QelShotHost::~QelShotHost() {
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
}

const wchar_t* QelShotHost::GetWindowClassName() const { return L"QelShotHost"; }

bool QelShotHost::Open(int cx, int cy) {
    if (Create(nullptr, L"qelskinshot", WS_POPUP | WS_CLIPCHILDREN, WS_EX_TOOLWINDOW, 0, 0, cx, cy) == nullptr) {
        return false;
    }
    ::SetWindowPos(m_hWnd, HWND_TOPMOST, 0, 0, cx, cy, SWP_SHOWWINDOW);
    return true;
}

bool QelShotHost::Settle(DWORD nMs) {
    const DWORD dwStart = ::GetTickCount();
    while (::GetTickCount() - dwStart < nMs) {
        MSG msg;
        while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
            ::TranslateMessage(&msg);
            ::DispatchMessageW(&msg);
        }
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
    if (!::IsWindow(m_hWnd)) return false;
    ::RedrawWindow(m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    ::GdiFlush();
    return true;
}

LRESULT QelShotHost::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_ERASEBKGND) {
        RECT rc = {};
        ::GetClientRect(m_hWnd, &rc);
        ::FillRect(reinterpret_cast<HDC>(wParam), &rc, static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH)));
        return 1;
    }
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}
