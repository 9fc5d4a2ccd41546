#include "uilib/CToolTipWindow.h"

#include "uilib/CPaintManagerUI.h"

namespace UiLib {

CToolTipWindow::~CToolTipWindow() {
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) ::DestroyWindow(m_hWnd);
}

void CToolTipWindow::Describe(TTTOOLINFOW& info) {
    info = {};
    info.cbSize = TTTOOLINFOW_V2_SIZE;  // understood by every version of the control
    info.uFlags = TTF_IDISHWND | TTF_TRACK;
    info.hwnd = m_hOwner;
    info.uId = reinterpret_cast<UINT_PTR>(m_hOwner);
    info.lpszText = const_cast<wchar_t*>(m_strText.c_str());
}

bool CToolTipWindow::Create(HWND hOwner) {
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) {
        if (m_hOwner == hOwner) return true;
        ::DestroyWindow(m_hWnd);
    }
    const INITCOMMONCONTROLSEX classes = {sizeof(INITCOMMONCONTROLSEX), ICC_BAR_CLASSES};
    ::InitCommonControlsEx(&classes);
    m_hOwner = hOwner;
    // Owned by the window, so it goes with it; "always" also while the window is inactive.
    m_hWnd = ::CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr, WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP,
                               CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, hOwner, nullptr,
                               CPaintManagerUI::GetInstance(), nullptr);
    if (m_hWnd == nullptr) return false;
    TTTOOLINFOW info;
    Describe(info);
    ::SendMessageW(m_hWnd, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&info));
    return true;
}

void CToolTipWindow::Show(HWND hOwner, const std::wstring& strText, POINT ptScreen) {
    m_strText = strText;
    if (!Create(hOwner)) return;
    TTTOOLINFOW info;
    Describe(info);
    ::SendMessageW(m_hWnd, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&info));
    // Below the arrow, where a tip does not hide what the pointer points at.
    ptScreen.y += ::GetSystemMetrics(SM_CYCURSOR) * 3 / 4;
    ::SendMessageW(m_hWnd, TTM_TRACKPOSITION, 0, MAKELPARAM(ptScreen.x, ptScreen.y));
    ::SendMessageW(m_hWnd, TTM_TRACKACTIVATE, TRUE, reinterpret_cast<LPARAM>(&info));
}

void CToolTipWindow::Hide() {
    if (m_hWnd == nullptr || !::IsWindow(m_hWnd)) return;
    TTTOOLINFOW info;
    Describe(info);
    ::SendMessageW(m_hWnd, TTM_TRACKACTIVATE, FALSE, reinterpret_cast<LPARAM>(&info));
}

}  // namespace UiLib
