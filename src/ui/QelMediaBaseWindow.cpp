#include "ui/QelMediaBaseWindow.h"

#include <windowsx.h>

#include <cwchar>

namespace UiLib {

namespace {

// Controls that take the mouse themselves, so a press on them is never a caption drag.
bool IsClickableClass(const wchar_t* pstrClass) {
    return pstrClass != nullptr && (wcscmp(pstrClass, L"ButtonUI") == 0 || wcscmp(pstrClass, L"OptionUI") == 0 ||
                                    wcscmp(pstrClass, L"TextUI") == 0);
}

// The work area of a monitor with the monitor's own corner as the origin.
RECT WorkAreaFromMonitorOrigin(HMONITOR hMonitor) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    ::GetMonitorInfoW(hMonitor, &info);
    RECT rcWork = info.rcWork;
    ::OffsetRect(&rcWork, -info.rcMonitor.left, -info.rcMonitor.top);
    return rcWork;
}

}  // namespace

QelMediaBaseWindow::QelMediaBaseWindow(const wchar_t* skinFile, bool scaleDpi)
    : m_strSkinFile(skinFile != nullptr ? skinFile : L""),
      m_bScaleDpi(scaleDpi),
      m_rcRestore{0, 0, 0, 0},
      m_bFullscreen(false) {}

QelMediaBaseWindow::~QelMediaBaseWindow() = default;

int QelMediaBaseWindow::GetDpi() {
    // 125 % is left unscaled on purpose: the skins read well at that size as they are.
    const int nDpi = CDPI::GetMainMonitorDPI();
    return nDpi <= 120 ? 96 : nDpi;
}

SIZE QelMediaBaseWindow::GetScreenSize() {
    return SIZE{::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN)};
}

void QelMediaBaseWindow::SetFullscreen(HWND hwnd) {
    if (hwnd == nullptr) return;
    ::SetWindowPos(hwnd, nullptr, 0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN),
                   SWP_NOZORDER | SWP_SHOWWINDOW);
}

CDuiString QelMediaBaseWindow::GetSkinFile() { return m_strSkinFile; }

CDuiString QelMediaBaseWindow::GetSkinFolder() { return CDuiString(); }

bool QelMediaBaseWindow::IsFullscreen() const { return m_bFullscreen; }

void QelMediaBaseWindow::Init() {}

void QelMediaBaseWindow::InitWindow() {}

const wchar_t* QelMediaBaseWindow::GetWindowClassName() const { return L"QelMediaBaseWindow"; }

UINT QelMediaBaseWindow::GetClassStyle() const { return CS_DBLCLKS; }

void QelMediaBaseWindow::OnFinalMessage(HWND) {}

LRESULT QelMediaBaseWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    LRESULT lRes = 0;
    BOOL bHandled = TRUE;
    switch (uMsg) {
    case WM_CREATE: lRes = OnCreate(uMsg, wParam, lParam, bHandled); break;
    case WM_DESTROY: lRes = OnDestroy(uMsg, wParam, lParam, bHandled); break;
    case WM_SIZE: lRes = OnSize(uMsg, wParam, lParam, bHandled); break;
    case WM_CLOSE: lRes = OnClose(uMsg, wParam, lParam, bHandled); break;
    case WM_GETMINMAXINFO: lRes = OnGetMinMaxInfo(uMsg, wParam, lParam, bHandled); break;
    case WM_NCCALCSIZE: lRes = OnNcCalcSize(uMsg, wParam, lParam, bHandled); break;
    case WM_NCHITTEST: lRes = OnNcHitTest(uMsg, wParam, lParam, bHandled); break;
    case WM_NCPAINT: lRes = OnNcPaint(uMsg, wParam, lParam, bHandled); break;
    case WM_NCACTIVATE: lRes = OnNcActivate(uMsg, wParam, lParam, bHandled); break;
    case WM_KEYDOWN: lRes = OnKeyDown(uMsg, wParam, lParam, bHandled); break;
    case WM_SYSCOMMAND: lRes = OnSysCommand(uMsg, wParam, lParam, bHandled); break;
    case WM_TIMER: lRes = OnTimer(uMsg, wParam, lParam, bHandled); break;
    default: bHandled = FALSE; break;
    }
    if (bHandled) return lRes;
    if (m_PaintManager.MessageHandler(uMsg, wParam, lParam, lRes)) return lRes;
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}

LRESULT QelMediaBaseWindow::OnCreate(UINT, WPARAM, LPARAM, BOOL&) {
    const LONG_PTR style = ::GetWindowLongPtrW(m_hWnd, GWL_STYLE);
    ::SetWindowLongPtrW(m_hWnd, GWL_STYLE, style | WS_CLIPSIBLINGS | WS_CLIPCHILDREN);
    m_PaintManager.Init(m_hWnd);
    CDialogBuilder builder;
    CControlUI* pRoot = builder.Create(STRINGorID(m_strSkinFile), static_cast<UINT>(0), this, &m_PaintManager, nullptr);
    m_PaintManager.AttachDialog(pRoot);
    m_PaintManager.AddNotifier(this);
    if (m_bScaleDpi) m_PaintManager.SetDPI(GetDpi());
    Init();
    return 0;
}

LRESULT QelMediaBaseWindow::OnClose(UINT, WPARAM, LPARAM, BOOL& bHandled) {
    bHandled = FALSE;
    return 0;
}

LRESULT QelMediaBaseWindow::OnDestroy(UINT, WPARAM, LPARAM, BOOL& bHandled) {
    bHandled = FALSE;
    return 0;
}

LRESULT QelMediaBaseWindow::OnNcActivate(UINT, WPARAM wParam, LPARAM, BOOL& bHandled) {
    if (::IsIconic(m_hWnd)) bHandled = FALSE;
    return wParam == 0 ? TRUE : FALSE;
}

LRESULT QelMediaBaseWindow::OnNcCalcSize(UINT, WPARAM, LPARAM lParam, BOOL&) {
    if (::IsZoomed(m_hWnd)) {
        // A maximised frameless window would otherwise spill over the taskbar.
        const RECT rcWork = WorkAreaFromMonitorOrigin(::MonitorFromWindow(m_hWnd, MONITOR_DEFAULTTONEAREST));
        // Either a RECT or NCCALCSIZE_PARAMS, whose first member is the proposed rectangle.
        *reinterpret_cast<LPRECT>(lParam) = rcWork;
    }
    return 0;
}

LRESULT QelMediaBaseWindow::OnNcPaint(UINT, WPARAM, LPARAM, BOOL&) { return 0; }

LRESULT QelMediaBaseWindow::OnNcHitTest(UINT, WPARAM, LPARAM lParam, BOOL&) {
    POINT pt = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    ::ScreenToClient(m_hWnd, &pt);
    RECT rcClient = {};
    ::GetClientRect(m_hWnd, &rcClient);

    if (!::IsZoomed(m_hWnd)) {
        const RECT rcSizeBox = m_PaintManager.GetSizeBox();
        if (pt.y < rcClient.top + rcSizeBox.top) {
            if (pt.x < rcClient.left + rcSizeBox.left) return HTTOPLEFT;
            if (pt.x > rcClient.right - rcSizeBox.right) return HTTOPRIGHT;
            return HTTOP;
        }
        if (pt.y > rcClient.bottom - rcSizeBox.bottom) {
            if (pt.x < rcClient.left + rcSizeBox.left) return HTBOTTOMLEFT;
            if (pt.x > rcClient.right - rcSizeBox.right) return HTBOTTOMRIGHT;
            return HTBOTTOM;
        }
        if (pt.x < rcClient.left + rcSizeBox.left) return HTLEFT;
        if (pt.x > rcClient.right - rcSizeBox.right) return HTRIGHT;
    }

    const RECT rcCaption = m_PaintManager.GetCaptionRect();
    if (pt.x >= rcClient.left + rcCaption.left && pt.x < rcClient.right - rcCaption.right && pt.y >= rcCaption.top &&
        pt.y < rcCaption.bottom) {
        CControlUI* pControl = m_PaintManager.FindControl(pt);
        if (pControl != nullptr && !IsClickableClass(pControl->GetClass())) return HTCAPTION;
    }
    return HTCLIENT;
}

LRESULT QelMediaBaseWindow::OnSize(UINT, WPARAM, LPARAM, BOOL& bHandled) {
    if (!::IsIconic(m_hWnd)) {
        RECT rcWnd = {};
        ::GetWindowRect(m_hWnd, &rcWnd);
        ::OffsetRect(&rcWnd, -rcWnd.left, -rcWnd.top);
        rcWnd.right++;
        rcWnd.bottom++;
        const SIZE szCorner = m_PaintManager.GetRoundCorner();
        HRGN hRgn = ::CreateRoundRectRgn(rcWnd.left, rcWnd.top, rcWnd.right, rcWnd.bottom, szCorner.cx, szCorner.cy);
        // The system owns a region it accepted; only a refused one is still ours to free.
        if (hRgn != nullptr && ::SetWindowRgn(m_hWnd, hRgn, TRUE) == 0) ::DeleteObject(hRgn);
    }
    bHandled = FALSE;
    return 0;
}

LRESULT QelMediaBaseWindow::OnGetMinMaxInfo(UINT, WPARAM, LPARAM lParam, BOOL& bHandled) {
    // The primary monitor here, the nearest one in OnNcCalcSize: kept apart deliberately.
    const RECT rcWork = WorkAreaFromMonitorOrigin(::MonitorFromWindow(m_hWnd, MONITOR_DEFAULTTOPRIMARY));
    auto* pInfo = reinterpret_cast<LPMINMAXINFO>(lParam);
    pInfo->ptMaxPosition.x = rcWork.left;
    pInfo->ptMaxPosition.y = rcWork.top;
    pInfo->ptMaxSize.x = rcWork.right;
    pInfo->ptMaxSize.y = rcWork.bottom;
    bHandled = FALSE;
    return 0;
}

LRESULT QelMediaBaseWindow::OnSysCommand(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled) {
    if (wParam == SC_CLOSE) {
        bHandled = TRUE;
        SendMessage(WM_CLOSE);
        return 0;
    }
    // Default processing only: the paint manager never sees system commands.
    return CWindowWnd::HandleMessage(uMsg, wParam, lParam);
}

LRESULT QelMediaBaseWindow::OnTimer(UINT, WPARAM, LPARAM, BOOL& bHandled) {
    bHandled = FALSE;
    return 0;
}

LRESULT QelMediaBaseWindow::OnKeyDown(UINT, WPARAM wParam, LPARAM, BOOL& bHandled) {
    // A player has no default button and no dialog to cancel.
    if (wParam == VK_RETURN || wParam == VK_ESCAPE) return 0;
    bHandled = FALSE;
    return 0;
}

LRESULT QelMediaBaseWindow::OnSetCursor(UINT, WPARAM, LPARAM, BOOL& bHandled) {
    bHandled = FALSE;
    return 0;
}

void QelMediaBaseWindow::Play(const std::wstring& path) {
    if (&path != &m_strMediaPath) m_strMediaPath = path;
}

void QelMediaBaseWindow::Stop() {}

void QelMediaBaseWindow::OnClickEvent(TNotifyUI&) {}

void QelMediaBaseWindow::OnOtherEvent(TNotifyUI&) {}

void QelMediaBaseWindow::Notify(TNotifyUI& msg) {
    if (msg.sType == DUI_MSGTYPE_WINDOWINIT)
        InitWindow();
    else if (msg.sType == DUI_MSGTYPE_CLICK)
        OnClickEvent(msg);
    else
        OnOtherEvent(msg);
}

CControlUI* QelMediaBaseWindow::CreateControl(const wchar_t*) { return nullptr; }

void QelMediaBaseWindow::MaxWindow() {
    if (m_hWnd == nullptr) return;
    if (!::IsZoomed(m_hWnd)) SendMessage(WM_SYSCOMMAND, SC_MAXIMIZE, 0);
}

void QelMediaBaseWindow::MinWindow() {
    if (m_hWnd == nullptr) return;
    SendMessage(WM_SYSCOMMAND, SC_MINIMIZE, 0);
}

void QelMediaBaseWindow::RestoreWindow() {
    if (m_hWnd == nullptr) return;
    if (::IsZoomed(m_hWnd)) SendMessage(WM_SYSCOMMAND, SC_RESTORE, 0);
}

void QelMediaBaseWindow::MaxOrRestroeWindow() {
    if (m_hWnd == nullptr) return;
    SendMessage(WM_SYSCOMMAND, ::IsZoomed(m_hWnd) ? SC_RESTORE : SC_MAXIMIZE, 0);
}

void QelMediaBaseWindow::SwitchFullscreen() {
    if (m_hWnd == nullptr) return;
    if (!m_bFullscreen) {
        ::GetWindowRect(m_hWnd, &m_rcRestore);
        ::SetWindowPos(m_hWnd, nullptr, 0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN),
                       SWP_NOZORDER | SWP_SHOWWINDOW);
    } else {
        ::SetWindowPos(m_hWnd, nullptr, m_rcRestore.left, m_rcRestore.top, m_rcRestore.right - m_rcRestore.left,
                       m_rcRestore.bottom - m_rcRestore.top, SWP_NOZORDER | SWP_SHOWWINDOW);
    }
    m_bFullscreen = !m_bFullscreen;
}

}  // namespace UiLib
