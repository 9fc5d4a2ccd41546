// The control's own window: its class, its procedure, and the stock handling of painting,
// focus and mouse activation behind the control's own messages.
#include "activex/QelControl.h"

namespace qel::activex {

namespace {

// Reflected notifications (OCM_*) come back to the control above this; they are answered
// as the original message would be.
constexpr UINT kReflectedBase = WM_USER + 0x1c00;

// Controls of this module that made a window; the class stays registered while there are
// any, so that an unloaded module leaves no class pointing into it.
int g_nWindowClassUsers = 0;

}  // namespace

HWND QelControl::CreateControlWindow(HWND hwndParent, const RECT& rcPos) {
    ReleaseWindowClass();
    const HINSTANCE hInstance = QelModuleInstance();
    WNDCLASSEXW wc = {};
    wc.cbSize = sizeof(wc);
    if (!::GetClassInfoExW(hInstance, m_traits.pszWindowClass, &wc)) {
        wc.cbSize = sizeof(wc);
        wc.style = CS_DBLCLKS;
        wc.lpfnWndProc = ControlWindowProc;
        wc.hInstance = hInstance;
        wc.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
        wc.lpszClassName = m_traits.pszWindowClass;
        if (::RegisterClassExW(&wc) == 0) return nullptr;
    }
    ++g_nWindowClassUsers;
    m_bUsesWindowClass = true;
    const HWND hWnd = ::CreateWindowExW(0, m_traits.pszWindowClass, nullptr, m_traits.dwWindowStyle, rcPos.left,
                                        rcPos.top, rcPos.right - rcPos.left, rcPos.bottom - rcPos.top, hwndParent,
                                        nullptr, hInstance, this);
    if (hWnd == nullptr) ReleaseWindowClass();
    return hWnd;
}

void QelControl::ReleaseWindowClass() {
    // Only once the window is gone: a class with windows cannot be unregistered.
    if (!m_bUsesWindowClass || m_hWnd != nullptr) return;
    m_bUsesWindowClass = false;
    if (--g_nWindowClassUsers == 0) ::UnregisterClassW(m_traits.pszWindowClass, QelModuleInstance());
}

LRESULT CALLBACK QelControl::ControlWindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == WM_NCCREATE) {
        auto* pControl = static_cast<QelControl*>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams);
        pControl->m_hWnd = hWnd;
        ::SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pControl));
    }
    auto* pControl = reinterpret_cast<QelControl*>(::GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    if (uMsg == WM_NCDESTROY) {
        ::SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
        if (pControl != nullptr) pControl->m_hWnd = nullptr;
        return ::DefWindowProcW(hWnd, uMsg, wParam, lParam);
    }
    LRESULT lResult = 0;
    // Nothing may be thrown through the system's frames: a handler that throws is taken as
    // one that did not handle its message.
    try {
        if (pControl != nullptr && (pControl->OnControlMessage(uMsg, wParam, lParam, lResult) ||
                                    pControl->OnStockMessage(uMsg, wParam, lParam, lResult))) {
            return lResult;
        }
    } catch (...) {
    }
    return ::DefWindowProcW(hWnd, uMsg, wParam, lParam);
}

bool QelControl::OnStockMessage(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lResult) {
    switch (uMsg) {
    case WM_PAINT: {
        // wParam may name a device context to paint into instead of the window's.
        PAINTSTRUCT ps = {};
        const HDC hdc = wParam != 0 ? reinterpret_cast<HDC>(wParam) : ::BeginPaint(m_hWnd, &ps);
        if (hdc == nullptr) return true;
        RECT rcClient = {};
        ::GetClientRect(m_hWnd, &rcClient);
        const RECTL rcBounds = {rcClient.left, rcClient.top, rcClient.right, rcClient.bottom};
        QelDrawInfo di;
        di.hdcDraw = hdc;
        di.prcBounds = &rcBounds;
        DrawAdvanced(di);
        if (wParam == 0) ::EndPaint(m_hWnd, &ps);
        lResult = 0;
        return true;
    }
    case WM_SETFOCUS:
    case WM_KILLFOCUS: {
        Microsoft::WRL::ComPtr<IOleControlSite> spControlSite;
        if (m_bInPlaceActive && m_spClientSite && SUCCEEDED(m_spClientSite.As(&spControlSite))) {
            spControlSite->OnFocus(uMsg == WM_SETFOCUS);
        }
        return false;
    }
    case WM_MOUSEACTIVATE: {
        // Clicked: the user interface activates, unless a designer shows the control.
        bool bUserMode = true;
        if ((FAILED(GetAmbientUserMode(bUserMode)) || bUserMode) && !m_bUIActive) {
            DoVerb(OLEIVERB_UIACTIVATE, nullptr, m_spClientSite.Get(), 0, m_hWnd, &m_rcPos);
        }
        return false;
    }
    default:
        if (uMsg >= kReflectedBase + WM_COMMAND && uMsg <= kReflectedBase + WM_CTLCOLORSTATIC) {
            lResult = ::DefWindowProcW(m_hWnd, uMsg - kReflectedBase, wParam, lParam);
            return true;
        }
        return false;
    }
}

}  // namespace qel::activex
