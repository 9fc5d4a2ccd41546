#include "uilib/CSliderUI.h"

#include "uilib/CPaintManagerUI.h"
#include "uilib/CRenderEngine.h"
#include "uilib/SkinValues.h"

#include <cstdint>
#include <cwchar>

namespace UiLib {

CSliderUI::CSliderUI() { m_uTextStyle = DT_SINGLELINE | DT_CENTER; }

const wchar_t* CSliderUI::GetClass() const { return L"SliderUI"; }

LPVOID CSliderUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Slider") == 0) return this;
    return CProgressUI::GetInterface(pstrName);
}

void CSliderUI::SetEnabled(bool bEnable) {
    CControlUI::SetEnabled(bEnable);
    if (!IsEnabled()) m_uButtonState = 0;
}

void CSliderUI::SetThumbSize(SIZE szXY) {
    m_szThumb = szXY;
    Invalidate();
}

SIZE CSliderUI::GetScaledThumbSize() const { return SIZE{Scale(m_szThumb.cx), Scale(m_szThumb.cy)}; }

RECT CSliderUI::GetThumbRect() const {
    const SIZE szThumb = GetScaledThumbSize();
    const long long llRange = static_cast<long long>(m_nMax) - m_nMin;
    const long long llPart = llRange > 0 ? static_cast<long long>(m_nValue) - m_nMin : 0;
    const long long llWhole = llRange > 0 ? llRange : 1;
    if (m_bHorizontal) {
        const long left = m_rcItem.left + static_cast<long>((m_rcItem.right - m_rcItem.left - szThumb.cx) * llPart / llWhole);
        const long top = (m_rcItem.top + m_rcItem.bottom - szThumb.cy) / 2;
        return RECT{left, top, left + szThumb.cx, top + szThumb.cy};
    }
    const long top = m_rcItem.bottom - szThumb.cy -
                     static_cast<long>((m_rcItem.bottom - m_rcItem.top - szThumb.cy) * llPart / llWhole);
    const long left = (m_rcItem.left + m_rcItem.right - szThumb.cx) / 2;
    return RECT{left, top, left + szThumb.cx, top + szThumb.cy};
}

void CSliderUI::SetThumbImage(const wchar_t* pStrImage) {
    m_sThumbImage = pStrImage;
    Invalidate();
}

void CSliderUI::SetThumbHotImage(const wchar_t* pStrImage) {
    m_sThumbHotImage = pStrImage;
    Invalidate();
}

void CSliderUI::SetThumbPushedImage(const wchar_t* pStrImage) {
    m_sThumbPushedImage = pStrImage;
    Invalidate();
}

int CSliderUI::ValueFromPoint(POINT pt) const {
    // 32-bit arithmetic that wraps as the machine's does, never undefined.
    const auto wrapMul = [](int32_t a, int32_t b) {
        return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
    };
    const auto wrapAdd = [](int32_t a, int32_t b) {
        return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
    };
    const SIZE szThumb = GetScaledThumbSize();
    const int32_t nRange = static_cast<int32_t>(static_cast<uint32_t>(m_nMax) - static_cast<uint32_t>(m_nMin));
    if (m_bHorizontal) {
        const int32_t half = szThumb.cx / 2;
        if (pt.x >= m_rcItem.right - half) return m_nMax;
        if (pt.x <= m_rcItem.left + half) return m_nMin;
        // Between the two ends the divisor is never 0 (the track is wider than the thumb).
        return wrapAdd(m_nMin, wrapMul(nRange, pt.x - m_rcItem.left - half) /
                                   (m_rcItem.right - m_rcItem.left - szThumb.cx));
    }
    const int32_t half = szThumb.cy / 2;
    if (pt.y >= m_rcItem.bottom - half) return m_nMin;
    if (pt.y <= m_rcItem.top + half) return m_nMax;
    return wrapAdd(m_nMin, wrapMul(nRange, m_rcItem.bottom - half - pt.y) /
                               (m_rcItem.bottom - m_rcItem.top - szThumb.cy));
}

void CSliderUI::DoEvent(TEventUI& event) {
    if (!IsMouseEnabled() && event.Type > UIEVENT__MOUSEBEGIN && event.Type < UIEVENT__MOUSEEND) {
        if (m_pParent != nullptr) {
            m_pParent->DoEvent(event);
        } else {
            CProgressUI::DoEvent(event);
        }
        return;
    }
    switch (event.Type) {
    case UIEVENT_BUTTONDOWN:
    case UIEVENT_DBLCLICK:
        if (IsEnabled()) {
            m_uButtonState |= UISTATE_CAPTURED;
            const int nValue = ValueFromPoint(event.ptMouse);
            if (nValue != m_nValue) {
                m_nValue = nValue;
                Invalidate();
            }
        }
        return;
    case UIEVENT_BUTTONUP:
        if ((m_uButtonState & UISTATE_CAPTURED) != 0) {
            m_uButtonState &= ~UISTATE_CAPTURED;
            SetValue(ValueFromPoint(event.ptMouse));
            Invalidate();
            if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_VALUECHANGED);
        }
        return;
    case UIEVENT_MOUSEMOVE:
        if ((m_uButtonState & UISTATE_CAPTURED) != 0) {
            const int nValue = ValueFromPoint(event.ptMouse);
            if (nValue != m_nValue && nValue >= m_nMin && nValue <= m_nMax) {
                m_nValue = nValue;
                Invalidate();
                if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_MOVEVALUECHANGED);
            }
            return;
        }
        {
            const RECT rcThumb = GetThumbRect();
            const UINT uOld = m_uButtonState;
            if (IsEnabled() && ::PtInRect(&rcThumb, event.ptMouse)) {
                m_uButtonState |= UISTATE_HOT;
            } else {
                m_uButtonState &= ~UISTATE_HOT;
            }
            if (uOld != m_uButtonState) Invalidate();
        }
        return;
    case UIEVENT_SCROLLWHEEL:
        if (!IsEnabled()) return;
        if (LOWORD(event.wParam) == SB_LINEUP) {
            SetValue(GetValue() + GetChangeStep());
        } else if (LOWORD(event.wParam) == SB_LINEDOWN) {
            SetValue(GetValue() - GetChangeStep());
        } else {
            return;
        }
        if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_VALUECHANGED);
        return;
    case UIEVENT_MOUSELEAVE:
        if ((m_uButtonState & UISTATE_HOT) != 0) {
            m_uButtonState &= ~UISTATE_HOT;
            Invalidate();
        }
        return;
    case UIEVENT_SETCURSOR:
        if (IsEnabled()) {
            ::SetCursor(::LoadCursorW(nullptr, IDC_HAND));
            return;
        }
        break;
    default:
        break;
    }
    CProgressUI::DoEvent(event);
}

void CSliderUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"thumbimage") == 0) {
        SetThumbImage(pstrValue);
    } else if (wcscmp(pstrName, L"thumbhotimage") == 0) {
        SetThumbHotImage(pstrValue);
    } else if (wcscmp(pstrName, L"thumbpushedimage") == 0) {
        SetThumbPushedImage(pstrValue);
    } else if (wcscmp(pstrName, L"thumbsize") == 0) {
        SetThumbSize(SkinValues::ParseSize(pstrValue));
    } else if (wcscmp(pstrName, L"step") == 0) {
        SetChangeStep(_wtoi(pstrValue));
    } else {
        CProgressUI::SetAttribute(pstrName, pstrValue);
    }
}

void CSliderUI::PaintStatusImage(HDC hDC) {
    CProgressUI::PaintStatusImage(hDC);
    const RECT rcThumb = GetThumbRect();
    const wchar_t* pImage = m_sThumbImage;
    if ((m_uButtonState & UISTATE_CAPTURED) != 0 && !m_sThumbPushedImage.IsEmpty()) {
        pImage = m_sThumbPushedImage;
    } else if ((m_uButtonState & UISTATE_HOT) != 0 && !m_sThumbHotImage.IsEmpty()) {
        pImage = m_sThumbHotImage;
    }
    if (*pImage == 0) return;
    RECT rcPaint = {};
    if (::IntersectRect(&rcPaint, &rcThumb, &m_rcPaint)) {
        CRenderEngine::DrawImageString(hDC, m_pManager, rcThumb, rcPaint, pImage);
    }
}

}  // namespace UiLib
