#include "uilib/CButtonUI.h"

#include "uilib/CPaintManagerUI.h"
#include "uilib/CRenderEngine.h"
#include "uilib/SkinValues.h"

#include <cwchar>

namespace UiLib {

CButtonUI::CButtonUI() { m_uTextStyle = DT_SINGLELINE | DT_VCENTER | DT_CENTER; }

const wchar_t* CButtonUI::GetClass() const { return L"ButtonUI"; }

LPVOID CButtonUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Button") == 0) return this;
    return CLabelUI::GetInterface(pstrName);
}

bool CButtonUI::Activate() {
    if (!CControlUI::Activate()) return false;
    if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_CLICK);
    return true;
}

void CButtonUI::SetEnabled(bool bEnable) {
    CControlUI::SetEnabled(bEnable);
    if (!IsEnabled()) m_uButtonState = 0;
}

void CButtonUI::DoEvent(TEventUI& event) {
    if (!IsMouseEnabled() && event.Type > UIEVENT__MOUSEBEGIN && event.Type < UIEVENT__MOUSEEND) {
        if (m_pParent != nullptr) {
            m_pParent->DoEvent(event);
        } else {
            CLabelUI::DoEvent(event);
        }
        return;
    }
    switch (event.Type) {
    case UIEVENT_KEYDOWN:
        if (IsKeyboardActivation(event.chKey)) Activate();
        return;
    case UIEVENT_BUTTONDOWN:
    case UIEVENT_DBLCLICK:
        if (::PtInRect(&m_rcItem, event.ptMouse) && IsEnabled()) {
            m_uButtonState |= UISTATE_PUSHED | UISTATE_CAPTURED;
            Invalidate();
        }
        return;
    case UIEVENT_MOUSEMOVE:
        if ((m_uButtonState & UISTATE_CAPTURED) != 0) {
            if (::PtInRect(&m_rcItem, event.ptMouse)) {
                m_uButtonState |= UISTATE_PUSHED;
            } else {
                m_uButtonState &= ~UISTATE_PUSHED;
            }
            Invalidate();
        }
        return;
    case UIEVENT_BUTTONUP:
        if ((m_uButtonState & UISTATE_CAPTURED) != 0) {
            m_uButtonState &= ~(UISTATE_PUSHED | UISTATE_CAPTURED);
            Invalidate();
            // Last: the click may close the window that holds this button.
            if (::PtInRect(&m_rcItem, event.ptMouse)) Activate();
        }
        return;
    case UIEVENT_MOUSEENTER:
        if (IsEnabled()) {
            m_uButtonState |= UISTATE_HOT;
            Invalidate();
        }
        return;
    case UIEVENT_MOUSELEAVE:
        m_uButtonState &= ~UISTATE_HOT;
        Invalidate();
        return;
    case UIEVENT_SETCURSOR:
        ::SetCursor(::LoadCursorW(nullptr, IDC_HAND));
        return;
    default:
        CLabelUI::DoEvent(event);
    }
}

bool CButtonUI::IsKeyboardActivation(wchar_t chKey) { return chKey == VK_SPACE || chKey == VK_RETURN; }

void CButtonUI::SetNormalImage(const wchar_t* pStrImage) {
    m_sNormalImage = pStrImage;
    Invalidate();
}

void CButtonUI::SetHotImage(const wchar_t* pStrImage) {
    m_sHotImage = pStrImage;
    Invalidate();
}

void CButtonUI::SetPushedImage(const wchar_t* pStrImage) {
    m_sPushedImage = pStrImage;
    Invalidate();
}

void CButtonUI::SetDisabledImage(const wchar_t* pStrImage) {
    m_sDisabledImage = pStrImage;
    Invalidate();
}

void CButtonUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"normalimage") == 0) {
        SetNormalImage(pstrValue);
    } else if (wcscmp(pstrName, L"hotimage") == 0) {
        SetHotImage(pstrValue);
    } else if (wcscmp(pstrName, L"pushedimage") == 0) {
        SetPushedImage(pstrValue);
    } else if (wcscmp(pstrName, L"disabledimage") == 0) {
        SetDisabledImage(pstrValue);
    } else if (wcscmp(pstrName, L"hottextcolor") == 0) {
        SetHotTextColor(CRenderEngine::ParseColor(pstrValue));
    } else {
        CLabelUI::SetAttribute(pstrName, pstrValue);
    }
}

void CButtonUI::PaintText(HDC hDC) {
    if ((m_uButtonState & UISTATE_HOT) != 0 && m_dwHotTextColor != 0 && IsEnabled()) {
        const DWORD dwNormal = m_dwTextColor;
        m_dwTextColor = m_dwHotTextColor;
        CLabelUI::PaintText(hDC);
        m_dwTextColor = dwNormal;
        return;
    }
    CLabelUI::PaintText(hDC);
}

void CButtonUI::PaintStatusImage(HDC hDC) {
    // The image of the most specific state the skin has, else the normal one.
    if (!IsEnabled()) {
        if (!m_sDisabledImage.IsEmpty() && DrawImage(hDC, m_sDisabledImage)) return;
    } else if ((m_uButtonState & UISTATE_PUSHED) != 0) {
        if (!m_sPushedImage.IsEmpty() && DrawImage(hDC, m_sPushedImage)) return;
    } else if ((m_uButtonState & UISTATE_HOT) != 0) {
        if (!m_sHotImage.IsEmpty() && DrawImage(hDC, m_sHotImage)) return;
    }
    if (!m_sNormalImage.IsEmpty()) DrawImage(hDC, m_sNormalImage);
}

const wchar_t* COptionUI::GetClass() const { return L"OptionUI"; }

LPVOID COptionUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Option") == 0) return this;
    return CButtonUI::GetInterface(pstrName);
}

bool COptionUI::Activate() {
    if (!CButtonUI::Activate()) return false;
    Selected(!m_bSelected);
    return true;
}

void COptionUI::Selected(bool bSelected) {
    if (m_bSelected == bSelected) return;
    m_bSelected = bSelected;
    if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_SELECTCHANGED);
    Invalidate();
}

void COptionUI::SetSelectedImage(const wchar_t* pStrImage) {
    m_sSelectedImage = pStrImage;
    Invalidate();
}

void COptionUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"selected") == 0) {
        m_bSelected = SkinValues::ParseBool(pstrValue);
        Invalidate();
    } else if (wcscmp(pstrName, L"selectedimage") == 0) {
        SetSelectedImage(pstrValue);
    } else {
        CButtonUI::SetAttribute(pstrName, pstrValue);
    }
}

void COptionUI::PaintStatusImage(HDC hDC) {
    if (m_bSelected && !m_sSelectedImage.IsEmpty() && DrawImage(hDC, m_sSelectedImage)) return;
    CButtonUI::PaintStatusImage(hDC);
}

}  // namespace UiLib
