#include "ui/QelVideoWindow.h"

#include "video/QelMessages.h"

namespace {

// Owns one GDI object for the length of a paint.
class GdiObject {
public:
    explicit GdiObject(HGDIOBJ hObject) : m_hObject(hObject) {}
    ~GdiObject() {
        if (m_hObject != nullptr) ::DeleteObject(m_hObject);
    }
    GdiObject(const GdiObject&) = delete;
    GdiObject& operator=(const GdiObject&) = delete;
    HGDIOBJ Get() const { return m_hObject; }

private:
    HGDIOBJ m_hObject;
};

// A memory device context, with what was selected into it put back before it goes.
class MemoryDC {
public:
    explicit MemoryDC(HDC hDC) : m_hDC(::CreateCompatibleDC(hDC)) {}
    ~MemoryDC() {
        if (m_hDC == nullptr) return;
        if (m_hOld != nullptr) ::SelectObject(m_hDC, m_hOld);
        ::DeleteDC(m_hDC);
    }
    MemoryDC(const MemoryDC&) = delete;
    MemoryDC& operator=(const MemoryDC&) = delete;
    HDC Get() const { return m_hDC; }
    void Select(HGDIOBJ hObject) {
        HGDIOBJ hPrev = ::SelectObject(m_hDC, hObject);
        if (m_hOld == nullptr) m_hOld = hPrev;
    }

private:
    HDC m_hDC;
    HGDIOBJ m_hOld = nullptr;
};

class PaintScope {
public:
    explicit PaintScope(HWND hWnd) : m_hWnd(hWnd) { m_hDC = ::BeginPaint(hWnd, &m_ps); }
    ~PaintScope() { ::EndPaint(m_hWnd, &m_ps); }
    PaintScope(const PaintScope&) = delete;
    PaintScope& operator=(const PaintScope&) = delete;
    HDC Get() const { return m_hDC; }

private:
    HWND m_hWnd;
    PAINTSTRUCT m_ps = {};
    HDC m_hDC = nullptr;
};

}  // namespace

QelVideoWindow::QelVideoWindow()
    : m_pOwner(nullptr), m_bAttached(false), m_hNotifyWnd(nullptr), m_dwBkColor(0xFFFFFFFF), m_pVideoPlayer(nullptr) {}

QelVideoWindow::~QelVideoWindow() = default;

const wchar_t* QelVideoWindow::GetWindowClassName() const { return L"QelVideoWindow"; }

// Double clicks must arrive: they toggle the player.
UINT QelVideoWindow::GetClassStyle() const { return CS_DBLCLKS; }

LRESULT QelVideoWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    switch (uMsg) {
    case WM_PAINT:
        PaintBackground();
        return 0;
    case WM_MOUSEMOVE:
        if (m_fnMouseMove) m_fnMouseMove();
        return 0;
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        // The keys are the player's: its window takes them, unless the host's top-level
        // window is inactive (focusing would activate it).
        if (m_hNotifyWnd != nullptr && ::GetActiveWindow() == ::GetAncestor(m_hWnd, GA_ROOT)) ::SetFocus(m_hNotifyWnd);
        break;
    case WM_SIZE:
        m_status.Centre();
        break;
    case WM_LBUTTONUP:
        if (m_fnMouseUp) m_fnMouseUp();
        return 0;
    case WM_LBUTTONDBLCLK:
        if (m_hNotifyWnd != nullptr && m_pVideoPlayer != nullptr) {
            ::PostMessageW(m_hNotifyWnd, QEL_VIDEO_WINDOW_DBCLICK, 0, 0);
            return 0;
        }
        break;
    case QEL_VIDEO_SEEK_TS:
    case QEL_VIDEO_PLAYER_EVENT:
        // The engine knows only this window; posting keeps its thread from waiting on ours.
        if (m_hNotifyWnd != nullptr) ::PostMessageW(m_hNotifyWnd, uMsg, wParam, lParam);
        return 0;
    default: break;
    }
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}

void QelVideoWindow::ShowStatus(const std::wstring& strText, const QelVideoStatusLook& look) {
    if (m_hWnd != nullptr) m_status.Show(m_hWnd, strText, look);
}

void QelVideoWindow::PaintBackground() {
    PaintScope paint(m_hWnd);
    if (paint.Get() == nullptr) return;
    RECT rcClient = {};
    ::GetClientRect(m_hWnd, &rcClient);
    const int cx = rcClient.right - rcClient.left;
    const int cy = rcClient.bottom - rcClient.top;
    if (cx <= 0 || cy <= 0) return;

    // Declared before the memory context, so they are released after it lets go of them.
    GdiObject bitmap(::CreateCompatibleBitmap(paint.Get(), cx, cy));
    const COLORREF color = RGB((m_dwBkColor >> 16) & 0xFF, (m_dwBkColor >> 8) & 0xFF, m_dwBkColor & 0xFF);
    GdiObject brush(::CreateSolidBrush(color));
    MemoryDC memDC(paint.Get());
    if (memDC.Get() == nullptr || bitmap.Get() == nullptr || brush.Get() == nullptr) return;
    memDC.Select(bitmap.Get());
    ::SetBkMode(memDC.Get(), TRANSPARENT);
    ::FillRect(memDC.Get(), &rcClient, static_cast<HBRUSH>(brush.Get()));
    ::BitBlt(paint.Get(), rcClient.left, rcClient.top, cx, cy, memDC.Get(), 0, 0, SRCCOPY);
}
