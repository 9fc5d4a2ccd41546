#include "ui/QelSliderUI.h"

#include <cstdint>
#include <cwchar>
#include <cstdlib>

namespace UiLib {

namespace {

const wchar_t kVideoDotHot[] = L"videodothot";
const wchar_t kVideoDotKillFocus[] = L"videodotkillfocus";

// The arithmetic wraps around as the machine's does instead of being undefined.
int64_t WrapMul64(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

}  // namespace

QelSliderUI::QelSliderUI()
    : m_szDot{12, 12}, m_uDotState(0), m_nHotDotIndex(-1), m_bUpdateDotsRect(false) {}

QelSliderUI::~QelSliderUI() = default;

const wchar_t* QelSliderUI::GetClass() const { return L"QelSliderUI"; }

LPVOID QelSliderUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"QelSlider") == 0) return this;
    // The slider level is skipped on purpose: this control answers as a progress bar does.
    return CProgressUI::GetInterface(pstrName);
}

void QelSliderUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"dotimage") == 0)
        SetDotImage(pstrValue);
    else if (wcscmp(pstrName, L"dothotimage") == 0)
        SetDotHotImage(pstrValue);
    else if (wcscmp(pstrName, L"dotsize") == 0)
        SetDotSize(_wtoi(pstrValue));
    CSliderUI::SetAttribute(pstrName, pstrValue);
}

void QelSliderUI::SetDotImage(const wchar_t* pStrImage) {
    m_sDotImage = pStrImage != nullptr ? pStrImage : L"";
    Invalidate();
}

const wchar_t* QelSliderUI::GetDotImage() const { return m_sDotImage; }

void QelSliderUI::SetDotHotImage(const wchar_t* pStrImage) {
    m_sDotHotImage = pStrImage != nullptr ? pStrImage : L"";
    Invalidate();
}

const wchar_t* QelSliderUI::GetDotHotImage() const { return m_sDotHotImage; }

void QelSliderUI::SetDotSize(int nSize) {
    m_szDot.cx = nSize;
    m_szDot.cy = nSize;
}

int QelSliderUI::GetDotSize() const { return m_szDot.cx; }

int QelSliderUI::GetHotDotIndex() const { return m_nHotDotIndex; }

void QelSliderUI::SetVideoDots(const std::vector<_QelVideoDotsData>& vecDots) {
    m_vecVideoDots = vecDots;
    const RECT& rc = GetPos();
    if (rc.left == 0 && rc.top == 0 && rc.right == 0 && rc.bottom == 0) {
        // Never laid out: there is no track to place the dots on yet.
        Invalidate();
        return;
    }
    LayoutVideoDots();
    Invalidate();
}

void QelSliderUI::UpdateVideoDotsRect() {
    m_bUpdateDotsRect = true;
    Invalidate();
}

void QelSliderUI::LayoutVideoDots() {
    const RECT& rc = GetPos();
    // The skin's dot size at the window's DPI, like every other length of the skin.
    const SIZE szDot = {Scale(m_szDot.cx), Scale(m_szDot.cy)};
    const int64_t llWidth = static_cast<int64_t>(rc.right - rc.left) - szDot.cx;
    const int64_t llRange = static_cast<int64_t>(m_nMax) - m_nMin;
    for (_QelVideoDotsData& dot : m_vecVideoDots) {
        // An empty range has no scale to spread the dots on: they all sit at its start.
        const int64_t llFromMin = static_cast<int64_t>(static_cast<uint64_t>(dot.llTime) - static_cast<uint64_t>(m_nMin));
        const int64_t llOffset = llRange != 0 ? WrapMul64(llWidth, llFromMin) / llRange : 0;
        dot.rcDot.left = static_cast<LONG>(static_cast<int32_t>(static_cast<uint32_t>(rc.left + llOffset)));
        dot.rcDot.top = (rc.top + rc.bottom - szDot.cy) / 2;
        dot.rcDot.right = dot.rcDot.left + szDot.cx;
        dot.rcDot.bottom = dot.rcDot.top + szDot.cy;
    }
}

bool QelSliderUI::IsInDot(POINT pt) {
    if (m_vecVideoDots.empty()) return false;
    for (size_t i = 0; i < m_vecVideoDots.size(); ++i) {
        if (IsEnabled() && ::PtInRect(&m_vecVideoDots[i].rcDot, pt)) {
            m_nHotDotIndex = static_cast<int>(i);
            return true;
        }
    }
    return false;
}

void QelSliderUI::DoEvent(TEventUI& event) {
    if (!IsMouseEnabled() && event.Type > UIEVENT__MOUSEBEGIN && event.Type < UIEVENT__MOUSEEND) {
        if (m_pParent != nullptr)
            m_pParent->DoEvent(event);
        else
            CLabelUI::DoEvent(event);
        return;
    }

    switch (event.Type) {
    case UIEVENT_BUTTONDOWN:
    case UIEVENT_DBLCLICK: {
        if (!IsEnabled()) return;
        m_uButtonState |= UISTATE_CAPTURED;
        // The thumb jumps to the press silently; the release reports the value.
        const int nValue = ValueFromPoint(event.ptMouse);
        if (nValue != m_nValue && nValue >= m_nMin && nValue <= m_nMax) {
            m_nValue = nValue;
            Invalidate();
        }
        return;
    }
    case UIEVENT_BUTTONUP: {
        if ((m_uButtonState & UISTATE_CAPTURED) != 0) m_uButtonState &= ~UISTATE_CAPTURED;
        const int nValue = ValueFromPoint(event.ptMouse);
        if (nValue >= m_nMin && nValue <= m_nMax) {
            m_nValue = nValue;
            if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_VALUECHANGED);
            Invalidate();
        }
        return;
    }
    case UIEVENT_SCROLLWHEEL:
        switch (LOWORD(event.wParam)) {
        case SB_LINEUP:
            SetValue(GetValue() + GetChangeStep());
            if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_VALUECHANGED);
            return;
        case SB_LINEDOWN:
            SetValue(GetValue() - GetChangeStep());
            if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_VALUECHANGED);
            return;
        default: break;
        }
        break;
    case UIEVENT_MOUSEMOVE: {
        if ((m_uButtonState & UISTATE_CAPTURED) != 0) {
            // Dragging only moves the thumb; the release reports the value.
            m_nValue = ValueFromPoint(event.ptMouse);
            Invalidate();
        }
        const RECT rcThumb = GetThumbRect();
        if (IsEnabled() && ::PtInRect(&rcThumb, event.ptMouse))
            m_uButtonState |= UISTATE_HOT;
        else
            m_uButtonState &= ~UISTATE_HOT;
        Invalidate();

        if (IsEnabled() && IsInDot(event.ptMouse)) {
            if ((m_uDotState & UISTATE_HOT) == 0) {
                event.wParam = static_cast<WPARAM>(m_nHotDotIndex);
                // Posted: the window may open a pop-up, which must not happen inside this event.
                if (m_pManager != nullptr)
                    m_pManager->SendNotify(this, kVideoDotHot, event.wParam, event.lParam, true);
            }
            m_uDotState |= UISTATE_HOT;
            Invalidate();
        } else {
            if ((m_uDotState & UISTATE_HOT) != 0 && m_pManager != nullptr)
                m_pManager->SendNotify(this, kVideoDotKillFocus, event.wParam, event.lParam, true);
            m_uDotState &= ~UISTATE_HOT;
            Invalidate();
        }
        return;
    }
    case UIEVENT_MOUSELEAVE:
        if (IsEnabled()) {
            m_uButtonState &= ~UISTATE_HOT;
            m_uDotState &= ~UISTATE_HOT;
            if (m_pManager != nullptr)
                m_pManager->SendNotify(this, kVideoDotKillFocus, event.wParam, event.lParam, true);
            Invalidate();
        }
        return;
    case UIEVENT_SETCURSOR:
        if (IsEnabled()) {
            ::SetCursor(::LoadCursorW(nullptr, IDC_HAND));
            return;
        }
        break;
    default: break;
    }
    CControlUI::DoEvent(event);
}

void QelSliderUI::PaintStatusImage(HDC hDC) {
    CSliderUI::PaintStatusImage(hDC);
    if (m_bUpdateDotsRect) {
        LayoutVideoDots();
        m_bUpdateDotsRect = false;
    }
    for (size_t i = 0; i < m_vecVideoDots.size(); ++i) {
        const RECT& rcDot = m_vecVideoDots[i].rcDot;
        // The hot image goes under the normal one, so a skin may use a halo as hot image.
        if ((m_uDotState & UISTATE_HOT) != 0 && static_cast<int>(i) == m_nHotDotIndex && !m_sDotHotImage.IsEmpty()) {
            m_sImageModify.Empty();
            m_sImageModify.Format(L"dest='%d,%d,%d,%d'", rcDot.left, rcDot.top, rcDot.right, rcDot.bottom);
            CRenderEngine::DrawImageString(hDC, m_pManager, rcDot, rcDot, m_sDotHotImage, nullptr, false, 255);
        }
        if (!m_sDotImage.IsEmpty()) {
            m_sImageModify.Empty();
            m_sImageModify.Format(L"dest='%d,%d,%d,%d'", rcDot.left, rcDot.top, rcDot.right, rcDot.bottom);
            CRenderEngine::DrawImageString(hDC, m_pManager, rcDot, rcDot, m_sDotImage, nullptr, false, 255);
        }
    }
}

}  // namespace UiLib
