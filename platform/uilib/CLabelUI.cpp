#include "uilib/CLabelUI.h"

#include "uilib/CPaintManagerUI.h"
#include "uilib/CRenderEngine.h"
#include "uilib/SkinValues.h"

#include <cwchar>

namespace UiLib {

CLabelUI::CLabelUI() : m_uTextStyle(DT_VCENTER | DT_SINGLELINE) {}

const wchar_t* CLabelUI::GetClass() const { return L"LabelUI"; }

LPVOID CLabelUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Label") == 0) return this;
    return CControlUI::GetInterface(pstrName);
}

void CLabelUI::SetTextStyle(UINT uStyle) {
    m_uTextStyle = uStyle;
    Invalidate();
}

void CLabelUI::SetTextColor(DWORD dwTextColor) {
    m_dwTextColor = dwTextColor;
    Invalidate();
}

void CLabelUI::SetDisabledTextColor(DWORD dwTextColor) {
    m_dwDisabledTextColor = dwTextColor;
    Invalidate();
}

void CLabelUI::SetFont(int index) {
    m_iFont = index;
    Invalidate();
}

void CLabelUI::SetTextPadding(RECT rc) {
    m_rcTextPadding = rc;
    Invalidate();
}

void CLabelUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"align") == 0) {
        m_uTextStyle &= ~(DT_LEFT | DT_CENTER | DT_RIGHT);
        if (wcscmp(pstrValue, L"center") == 0) {
            m_uTextStyle |= DT_CENTER;
        } else if (wcscmp(pstrValue, L"right") == 0) {
            m_uTextStyle |= DT_RIGHT;
        }
    } else if (wcscmp(pstrName, L"valign") == 0) {
        m_uTextStyle &= ~(DT_TOP | DT_VCENTER | DT_BOTTOM);
        if (wcscmp(pstrValue, L"vcenter") == 0) {
            m_uTextStyle |= DT_VCENTER | DT_SINGLELINE;
        } else if (wcscmp(pstrValue, L"bottom") == 0) {
            m_uTextStyle |= DT_BOTTOM | DT_SINGLELINE;
        }
    } else if (wcscmp(pstrName, L"textcolor") == 0) {
        SetTextColor(CRenderEngine::ParseColor(pstrValue));
    } else if (wcscmp(pstrName, L"disabledtextcolor") == 0) {
        SetDisabledTextColor(CRenderEngine::ParseColor(pstrValue));
    } else if (wcscmp(pstrName, L"font") == 0) {
        SetFont(_wtoi(pstrValue));
    } else if (wcscmp(pstrName, L"textpadding") == 0) {
        SetTextPadding(SkinValues::ParseRect(pstrValue));
    } else {
        CControlUI::SetAttribute(pstrName, pstrValue);
    }
}

void CLabelUI::PaintText(HDC hDC) {
    if (m_sText.IsEmpty() || m_pManager == nullptr) return;
    DWORD dwColor = m_dwTextColor != 0 ? m_dwTextColor : m_pManager->GetDefaultFontColor();
    if (!IsEnabled()) {
        dwColor = m_dwDisabledTextColor != 0 ? m_dwDisabledTextColor : m_pManager->GetDefaultDisabledColor();
    }
    RECT rc = m_rcItem;
    rc.left += Scale(m_rcTextPadding.left);
    rc.top += Scale(m_rcTextPadding.top);
    rc.right -= Scale(m_rcTextPadding.right);
    rc.bottom -= Scale(m_rcTextPadding.bottom);
    CRenderEngine::DrawText(hDC, m_pManager, rc, m_sText, dwColor, m_iFont, m_uTextStyle);
}

CTextUI::CTextUI() { m_uTextStyle = DT_WORDBREAK; }

const wchar_t* CTextUI::GetClass() const { return L"TextUI"; }

LPVOID CTextUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Text") == 0) return this;
    return CLabelUI::GetInterface(pstrName);
}

}  // namespace UiLib
