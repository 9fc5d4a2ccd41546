#include "uilib/CProgressUI.h"

#include "uilib/CRenderEngine.h"
#include "uilib/SkinValues.h"

#include <cwchar>

namespace UiLib {

const wchar_t* CProgressUI::GetClass() const { return L"ProgressUI"; }

LPVOID CProgressUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Progress") == 0) return this;
    return CLabelUI::GetInterface(pstrName);
}

void CProgressUI::SetHorizontal(bool bHorizontal) {
    if (m_bHorizontal == bHorizontal) return;
    m_bHorizontal = bHorizontal;
    Invalidate();
}

void CProgressUI::SetMinValue(int nMin) {
    m_nMin = nMin;
    Invalidate();
}

void CProgressUI::SetMaxValue(int nMax) {
    m_nMax = nMax;
    Invalidate();
}

void CProgressUI::SetValue(int nValue) {
    if (nValue > m_nMax) nValue = m_nMax;
    if (nValue < m_nMin) nValue = m_nMin;
    if (nValue == m_nValue) return;
    m_nValue = nValue;
    Invalidate();
}

void CProgressUI::SetForeImage(const wchar_t* pStrImage) {
    if (m_sForeImage == pStrImage) return;
    m_sForeImage = pStrImage;
    Invalidate();
}

void CProgressUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"foreimage") == 0) {
        SetForeImage(pstrValue);
    } else if (wcscmp(pstrName, L"hor") == 0) {
        SetHorizontal(SkinValues::ParseBool(pstrValue));
    } else if (wcscmp(pstrName, L"min") == 0) {
        SetMinValue(_wtoi(pstrValue));
    } else if (wcscmp(pstrName, L"max") == 0) {
        SetMaxValue(_wtoi(pstrValue));
    } else if (wcscmp(pstrName, L"value") == 0) {
        SetValue(_wtoi(pstrValue));
    } else {
        CLabelUI::SetAttribute(pstrName, pstrValue);
    }
}

void CProgressUI::PaintStatusImage(HDC hDC) {
    if (m_nMax <= m_nMin || m_sForeImage.IsEmpty()) return;
    const int nValue = m_nValue < m_nMin ? m_nMin : (m_nValue > m_nMax ? m_nMax : m_nValue);
    const long long llRange = static_cast<long long>(m_nMax) - m_nMin;
    RECT rcFill = m_rcItem;
    if (m_bHorizontal) {
        rcFill.right = rcFill.left + static_cast<long>((rcFill.right - rcFill.left) * (nValue - m_nMin) / llRange);
    } else {
        rcFill.top = rcFill.bottom - static_cast<long>((rcFill.bottom - rcFill.top) * (nValue - m_nMin) / llRange);
    }
    RECT rcPaint = {};
    if (!::IntersectRect(&rcPaint, &rcFill, &m_rcPaint)) return;
    CRenderEngine::DrawImageString(hDC, m_pManager, rcFill, rcPaint, m_sForeImage);
}

}  // namespace UiLib
