#include "support/TestWin32.h"

namespace qel::test {

void PumpPending() {
    // Bounded: a window that keeps posting to itself must not hang the test.
    MSG msg;
    for (int i = 0; i < 10000 && ::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE); ++i) {
        ::TranslateMessage(&msg);
        ::DispatchMessageW(&msg);
    }
}

bool PumpUntil(const std::function<bool()>& pred, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        PumpPending();
        if (pred()) return true;
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline) return false;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(left < 20 ? left : 20), QS_ALLINPUT);
    }
}

void Repaint(HWND hWnd) {
    PumpPending();
    ::InvalidateRect(hWnd, nullptr, FALSE);
    ::UpdateWindow(hWnd);
    PumpPending();
}

void ClickAt(HWND hWnd, int x, int y) {
    ::SendMessageW(hWnd, WM_MOUSEMOVE, 0, ClientPoint(x, y));
    ::SendMessageW(hWnd, WM_LBUTTONDOWN, MK_LBUTTON, ClientPoint(x, y));
    ::SendMessageW(hWnd, WM_LBUTTONUP, 0, ClientPoint(x, y));
}

LPARAM ScreenPoint(HWND hWnd, int x, int y) {
    POINT pt = {x, y};
    ::ClientToScreen(hWnd, &pt);
    return MAKELPARAM(static_cast<WORD>(pt.x), static_cast<WORD>(pt.y));
}

COLORREF ReadPixel(HWND hWnd, int x, int y) {
    HDC hDC = ::GetDC(hWnd);
    const COLORREF color = ::GetPixel(hDC, x, y);
    ::ReleaseDC(hWnd, hDC);
    return color;
}

COLORREF PrintedPixel(HWND hWnd, int x, int y) {
    RECT rc = {};
    ::GetClientRect(hWnd, &rc);
    const HDC hScreen = ::GetDC(nullptr);
    const HDC hMem = ::CreateCompatibleDC(hScreen);
    const HBITMAP hBitmap = ::CreateCompatibleBitmap(hScreen, rc.right, rc.bottom);
    const HGDIOBJ hOld = ::SelectObject(hMem, hBitmap);
    ::SendMessageW(hWnd, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(hMem), PRF_CLIENT);
    const COLORREF color = ::GetPixel(hMem, x, y);
    ::SelectObject(hMem, hOld);
    ::DeleteObject(hBitmap);
    ::DeleteDC(hMem);
    ::ReleaseDC(nullptr, hScreen);
    return color;
}

}  // namespace qel::test
