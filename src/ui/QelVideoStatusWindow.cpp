#include "ui/QelVideoStatusWindow.h"

#include <algorithm>

namespace {

constexpr int kPaddingX = 12;  // around the text, at 96 DPI
constexpr int kPaddingY = 6;

COLORREF ToColorRef(DWORD dwColor) { return UiLib::CRenderEngine::ToColorRef(dwColor); }

}  // namespace

QelVideoStatusWindow::~QelVideoStatusWindow() {
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
}

const wchar_t* QelVideoStatusWindow::GetWindowClassName() const { return L"QelVideoStatusWindow"; }

HFONT QelVideoStatusWindow::Font() const {
    // Asked at each use: the manager rebuilds its fonts when its DPI changes.
    return m_look.pManager != nullptr ? m_look.pManager->GetFont(m_look.iFont)
                                      : static_cast<HFONT>(::GetStockObject(DEFAULT_GUI_FONT));
}

void QelVideoStatusWindow::Show(HWND hParent, const std::wstring& strText, const QelVideoStatusLook& look) {
    if (strText.empty()) {
        if (m_hWnd != nullptr && !m_strText.empty()) ::ShowWindow(m_hWnd, SW_HIDE);
        m_strText.clear();
        return;
    }
    if (m_hWnd == nullptr || ::GetParent(m_hWnd) != hParent) {
        if (m_hWnd != nullptr) ::DestroyWindow(m_hWnd);
        if (Create(hParent, nullptr, WS_CHILD | WS_DISABLED | WS_CLIPSIBLINGS, 0, 0, 0, 0, 0) == nullptr) return;
    }
    const bool bChanged = strText != m_strText;
    m_strText = strText;
    m_look = look;
    if (bChanged) {
        ::SetWindowTextW(m_hWnd, m_strText.c_str());
        ::InvalidateRect(m_hWnd, nullptr, TRUE);
    }
    Centre();
}

void QelVideoStatusWindow::Centre() {
    if (m_hWnd == nullptr || m_strText.empty()) return;
    RECT rcText = {0, 0, 0, 0};
    if (const HDC hDC = ::GetDC(m_hWnd)) {
        const HGDIOBJ hOld = ::SelectObject(hDC, Font());
        ::DrawTextW(hDC, m_strText.c_str(), -1, &rcText, DT_CALCRECT | DT_SINGLELINE | DT_NOPREFIX);
        ::SelectObject(hDC, hOld);
        ::ReleaseDC(m_hWnd, hDC);
    }
    const int nScaleX = m_look.pManager != nullptr ? m_look.pManager->ScaleValue(kPaddingX) : kPaddingX;
    const int nScaleY = m_look.pManager != nullptr ? m_look.pManager->ScaleValue(kPaddingY) : kPaddingY;
    RECT rcParent = {};
    ::GetClientRect(::GetParent(m_hWnd), &rcParent);
    // Never wider than the picture: a long line ends in an ellipsis rather than spilling out.
    const int cx = std::min<int>(rcText.right + 2 * nScaleX, rcParent.right);
    const int cy = std::min<int>(rcText.bottom + 2 * nScaleY, rcParent.bottom);
    // Raised each time: the engine may have made its picture window since.
    ::SetWindowPos(m_hWnd, HWND_TOP, (rcParent.right - cx) / 2, (rcParent.bottom - cy) / 2, cx, cy,
                   SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

LRESULT QelVideoStatusWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_PAINT) {
        Paint();
        return 0;
    }
    if (uMsg == WM_ERASEBKGND) return 1;  // the paint covers every pixel
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}

void QelVideoStatusWindow::Paint() {
    PAINTSTRUCT ps = {};
    const HDC hDC = ::BeginPaint(m_hWnd, &ps);
    if (hDC != nullptr) {
        RECT rc = {};
        ::GetClientRect(m_hWnd, &rc);
        const HBRUSH hBrush = ::CreateSolidBrush(ToColorRef(m_look.dwBkColor));
        ::FillRect(hDC, &rc, hBrush);
        ::DeleteObject(hBrush);
        ::SetBkMode(hDC, TRANSPARENT);
        ::SetTextColor(hDC, ToColorRef(m_look.dwTextColor));
        const HGDIOBJ hOld = ::SelectObject(hDC, Font());
        const UINT uFormat = DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS;
        ::DrawTextW(hDC, m_strText.c_str(), -1, &rc, uFormat);
        ::SelectObject(hDC, hOld);
    }
    ::EndPaint(m_hWnd, &ps);
}
