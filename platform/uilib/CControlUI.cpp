#include "uilib/CControlUI.h"

#include "uilib/CPaintManagerUI.h"
#include "uilib/CRenderEngine.h"
#include "uilib/SkinValues.h"

#include <cwchar>

namespace UiLib {

CControlUI::CControlUI() = default;

CControlUI::~CControlUI() {
    if (m_pManager != nullptr) m_pManager->ReapObjects(this);
}

CDuiString CControlUI::GetName() const { return m_sName; }

void CControlUI::SetName(const wchar_t* pstrName) { m_sName = pstrName; }

const wchar_t* CControlUI::GetClass() const { return L"ControlUI"; }

LPVOID CControlUI::GetInterface(const wchar_t* pstrName) {
    return (pstrName != nullptr && wcscmp(pstrName, L"Control") == 0) ? this : nullptr;
}

bool CControlUI::Activate() { return IsVisible() && IsEnabled(); }

CPaintManagerUI* CControlUI::GetManager() const { return m_pManager; }

void CControlUI::SetManager(CPaintManagerUI* pManager, CControlUI* pParent, bool bInit) {
    m_pManager = pManager;
    m_pParent = pParent;
    if (bInit && m_pParent != nullptr) Init();
}

CControlUI* CControlUI::GetParent() const { return m_pParent; }

CDuiString CControlUI::GetText() const { return m_sText; }

void CControlUI::SetText(const wchar_t* pstrText) {
    if (m_sText == pstrText) return;
    m_sText = pstrText;
    Invalidate();
}

void CControlUI::SetBkColor(DWORD dwBackColor) {
    if (m_dwBackColor == dwBackColor) return;
    m_dwBackColor = dwBackColor;
    Invalidate();
}

void CControlUI::SetBkImage(const wchar_t* pStrImage) {
    if (m_sBkImage == pStrImage) return;
    m_sBkImage = pStrImage;
    Invalidate();
}

void CControlUI::SetBorderColor(DWORD dwBorderColor) {
    m_dwBorderColor = dwBorderColor;
    Invalidate();
}

void CControlUI::SetBorderSize(int nSize) {
    m_nBorderSize = nSize;
    Invalidate();
}

bool CControlUI::DrawImage(HDC hDC, const wchar_t* pStrImage, const wchar_t* pStrModify) {
    return CRenderEngine::DrawImageString(hDC, m_pManager, m_rcItem, m_rcPaint, pStrImage, pStrModify);
}

const RECT& CControlUI::GetPos() const { return m_rcItem; }

void CControlUI::SetPos(RECT rc) {
    if (rc.right < rc.left) rc.right = rc.left;
    if (rc.bottom < rc.top) rc.bottom = rc.top;
    Invalidate();
    m_rcItem = rc;
    m_bUpdateNeeded = false;
    Invalidate();
}

int CControlUI::GetWidth() const { return m_rcItem.right - m_rcItem.left; }
int CControlUI::GetHeight() const { return m_rcItem.bottom - m_rcItem.top; }

RECT CControlUI::GetPadding() const {
    return RECT{Scale(m_rcPadding.left), Scale(m_rcPadding.top), Scale(m_rcPadding.right), Scale(m_rcPadding.bottom)};
}

void CControlUI::SetPadding(RECT rcPadding) {
    m_rcPadding = rcPadding;
    NeedParentUpdate();
}

SIZE CControlUI::GetFixedXY() const { return SIZE{Scale(m_cXY.cx), Scale(m_cXY.cy)}; }

void CControlUI::SetFixedXY(SIZE szXY) {
    m_cXY = szXY;
    NeedParentUpdate();
}

int CControlUI::GetFixedWidth() const { return Scale(m_cxyFixed.cx); }

void CControlUI::SetFixedWidth(int cx) {
    if (cx < 0) return;
    m_cxyFixed.cx = cx;
    NeedParentUpdate();
}

int CControlUI::GetFixedHeight() const { return Scale(m_cxyFixed.cy); }

void CControlUI::SetFixedHeight(int cy) {
    if (cy < 0) return;
    m_cxyFixed.cy = cy;
    NeedParentUpdate();
}

void CControlUI::SetMinWidth(int cx) {
    if (cx < 0) return;
    m_cxyMin.cx = cx;
    NeedParentUpdate();
}

void CControlUI::SetMinHeight(int cy) {
    if (cy < 0) return;
    m_cxyMin.cy = cy;
    NeedParentUpdate();
}

void CControlUI::SetHideOrder(int nOrder) {
    m_nHideOrder = nOrder > 0 ? nOrder : 0;
    NeedParentUpdate();
}

bool CControlUI::IsFloat() const { return m_bFloat; }

void CControlUI::SetFloat(bool bFloat) {
    if (m_bFloat == bFloat) return;
    m_bFloat = bFloat;
    NeedParentUpdate();
}

bool CControlUI::IsVisible() const { return m_bVisible && m_bInternVisible && !m_bGivenWay; }

void CControlUI::SetVisible(bool bVisible) {
    if (m_bVisible == bVisible) return;
    const bool bWasVisible = IsVisible();
    m_bVisible = bVisible;
    if (m_bFocused) m_bFocused = false;
    if (!bVisible && m_pManager != nullptr && m_pManager->GetFocus() == this) m_pManager->SetFocus(nullptr);
    // A control that had given way leaves or takes room its line may now share out again.
    if (IsVisible() != bWasVisible || m_bGivenWay) NeedParentUpdate();
}

void CControlUI::SetInternVisible(bool bVisible) {
    m_bInternVisible = bVisible;
    if (!bVisible && m_pManager != nullptr && m_pManager->GetFocus() == this) m_pManager->SetFocus(nullptr);
}

bool CControlUI::IsEnabled() const { return m_bEnabled; }

void CControlUI::SetEnabled(bool bEnable) {
    if (m_bEnabled == bEnable) return;
    m_bEnabled = bEnable;
    Invalidate();
}

bool CControlUI::IsMouseEnabled() const { return m_bMouseEnabled; }

void CControlUI::SetMouseEnabled(bool bEnable) { m_bMouseEnabled = bEnable; }

bool CControlUI::IsFocused() const { return m_bFocused; }

void CControlUI::SetFocus() {
    if (m_pManager != nullptr) m_pManager->SetFocus(this);
}

CControlUI* CControlUI::FindControl(FINDCONTROLPROC Proc, LPVOID pData, UINT uFlags) {
    if ((uFlags & UIFIND_VISIBLE) != 0 && !IsVisible()) return nullptr;
    if ((uFlags & UIFIND_ENABLED) != 0 && !IsEnabled()) return nullptr;
    if ((uFlags & UIFIND_HITTEST) != 0 &&
        (!m_bMouseEnabled || !::PtInRect(&m_rcItem, *static_cast<const POINT*>(pData)))) {
        return nullptr;
    }
    return Proc(this, pData);
}

void CControlUI::Invalidate() {
    if (!IsVisible() || m_pManager == nullptr) return;
    m_pManager->Invalidate(m_rcItem);
}

void CControlUI::NeedUpdate() {
    if (!IsVisible()) return;
    m_bUpdateNeeded = true;
    Invalidate();
    if (m_pManager != nullptr) m_pManager->NeedUpdate();
}

void CControlUI::NeedParentUpdate() {
    if (m_pParent != nullptr) {
        m_pParent->NeedUpdate();
        m_pParent->Invalidate();
    } else {
        NeedUpdate();
    }
    if (m_pManager != nullptr) m_pManager->NeedUpdate();
}

void CControlUI::Init() { DoInit(); }

void CControlUI::DoInit() {}

void CControlUI::Event(TEventUI& event) { DoEvent(event); }

void CControlUI::DoEvent(TEventUI& event) {
    switch (event.Type) {
    case UIEVENT_SETCURSOR:
        ::SetCursor(::LoadCursorW(nullptr, IDC_ARROW));
        return;
    case UIEVENT_SETFOCUS:
        m_bFocused = true;
        Invalidate();
        return;
    case UIEVENT_KILLFOCUS:
        m_bFocused = false;
        Invalidate();
        return;
    case UIEVENT_TIMER:
        if (m_pManager != nullptr) m_pManager->SendNotify(this, DUI_MSGTYPE_TIMER, event.wParam, event.lParam);
        return;
    default:
        break;
    }
    if (m_pParent != nullptr) m_pParent->DoEvent(event);
}

void CControlUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    const std::wstring name(pstrName != nullptr ? pstrName : L"");
    if (name == L"pos") {
        const RECT rc = SkinValues::ParseRect(pstrValue);
        m_cxyFixed = SIZE{rc.right - rc.left, rc.bottom - rc.top};
        m_cXY = SIZE{rc.left, rc.top};
        NeedParentUpdate();
    } else if (name == L"padding") {
        SetPadding(SkinValues::ParseRect(pstrValue));
    } else if (name == L"bkcolor") {
        SetBkColor(CRenderEngine::ParseColor(pstrValue));
    } else if (name == L"bordercolor") {
        SetBorderColor(CRenderEngine::ParseColor(pstrValue));
    } else if (name == L"bordersize") {
        SetBorderSize(_wtoi(pstrValue));
    } else if (name == L"bkimage") {
        SetBkImage(pstrValue);
    } else if (name == L"width") {
        SetFixedWidth(_wtoi(pstrValue));
    } else if (name == L"height") {
        SetFixedHeight(_wtoi(pstrValue));
    } else if (name == L"name") {
        SetName(pstrValue);
    } else if (name == L"minwidth") {
        SetMinWidth(_wtoi(pstrValue));
    } else if (name == L"minheight") {
        SetMinHeight(_wtoi(pstrValue));
    } else if (name == L"hideorder") {
        SetHideOrder(_wtoi(pstrValue));
    } else if (name == L"text") {
        SetText(pstrValue);
    } else if (name == L"tooltip") {
        SetToolTip(pstrValue);
    } else if (name == L"float") {
        SetFloat(SkinValues::ParseBool(pstrValue));
    } else if (name == L"visible") {
        SetVisible(SkinValues::ParseBool(pstrValue));
    } else if (name == L"enabled") {
        SetEnabled(SkinValues::ParseBool(pstrValue));
    } else if (name == L"mouse") {
        SetMouseEnabled(SkinValues::ParseBool(pstrValue));
    }
}

CControlUI* CControlUI::ApplyAttributeList(const wchar_t* pstrList) {
    for (const auto& attribute : SkinValues::ParseAttributeList(pstrList)) {
        SetAttribute(attribute.first.c_str(), attribute.second.c_str());
    }
    return this;
}

SIZE CControlUI::EstimateSize(SIZE) { return SIZE{GetFixedWidth(), GetFixedHeight()}; }

void CControlUI::DoPaint(HDC hDC, const RECT& rcPaint) {
    if (!::IntersectRect(&m_rcPaint, &rcPaint, &m_rcItem)) return;
    PaintBkColor(hDC);
    PaintBkImage(hDC);
    PaintStatusImage(hDC);
    PaintText(hDC);
    PaintBorder(hDC);
}

void CControlUI::PaintBkColor(HDC hDC) {
    if (m_dwBackColor != 0) CRenderEngine::DrawColor(hDC, m_rcPaint, m_dwBackColor);
}

void CControlUI::PaintBkImage(HDC hDC) {
    if (!m_sBkImage.IsEmpty()) DrawImage(hDC, m_sBkImage);
}

void CControlUI::PaintStatusImage(HDC) {}

void CControlUI::PaintText(HDC) {}

void CControlUI::PaintBorder(HDC hDC) {
    if (m_nBorderSize > 0 && m_dwBorderColor != 0) CRenderEngine::DrawRect(hDC, m_rcItem, Scale(m_nBorderSize), m_dwBorderColor);
}

int CControlUI::Scale(int n) const { return m_pManager != nullptr ? m_pManager->ScaleValue(n) : n; }

}  // namespace UiLib
