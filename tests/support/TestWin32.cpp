#include "support/TestWin32.h"

#include <algorithm>
#include <memory>

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
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) return false;
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(std::min<long long>(left.count(), 20)),
                                    QS_ALLINPUT);
    }
}

void Repaint(HWND hWnd) {
    PumpPending();
    PrintedPixel(hWnd, 0, 0);  // printing lays the tree out, covered on screen or not
    ::InvalidateRect(hWnd, nullptr, FALSE);
    ::UpdateWindow(hWnd);
    PumpPending();
}

void ClickAt(HWND hWnd, int x, int y) {
    ::SendMessageW(hWnd, WM_MOUSEMOVE, 0, ClientPoint(x, y));
    ::SendMessageW(hWnd, WM_LBUTTONDOWN, MK_LBUTTON, ClientPoint(x, y));
    ::SendMessageW(hWnd, WM_LBUTTONUP, 0, ClientPoint(x, y));
}

std::string RectText(const RECT& rc) {
    return std::to_string(rc.left) + "," + std::to_string(rc.top) + "," + std::to_string(rc.right) + "," +
           std::to_string(rc.bottom);
}

std::string WindowRectText(HWND hWnd) {
    RECT rc = {};
    ::GetWindowRect(hWnd, &rc);
    const HWND hParent = ::GetAncestor(hWnd, GA_PARENT);
    if (hParent != ::GetDesktopWindow()) ::MapWindowPoints(nullptr, hParent, reinterpret_cast<POINT*>(&rc), 2);
    return RectText(rc);
}

COLORREF PrintedPixel(HWND hWnd, int x, int y, UINT uMsg) {
    RECT rc = {};
    ::GetClientRect(hWnd, &rc);
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), std::max(rc.right, 1L), std::max(rc.bottom, 1L), 1, 32, BI_RGB, 0, 0, 0,
                      0, 0};
    const std::unique_ptr<HDC__, decltype(&::DeleteDC)> hMem(::CreateCompatibleDC(nullptr), ::DeleteDC);
    void* pBits = nullptr;
    const std::unique_ptr<HBITMAP__, decltype(&::DeleteObject)> hBitmap(
        ::CreateDIBSection(hMem.get(), &info, DIB_RGB_COLORS, &pBits, nullptr, 0), ::DeleteObject);
    const HGDIOBJ hOld = ::SelectObject(hMem.get(), hBitmap.get());
    ::SendMessageW(hWnd, uMsg, reinterpret_cast<WPARAM>(hMem.get()), PRF_CLIENT);
    const COLORREF color = ::GetPixel(hMem.get(), x, y);
    ::SelectObject(hMem.get(), hOld);
    return color;
}

}  // namespace qel::test
