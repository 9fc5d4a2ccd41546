#include "uilib/CContainerUI.h"

#include "uilib/CPaintManagerUI.h"
#include "uilib/SkinValues.h"

#include <algorithm>
#include <cwchar>

namespace UiLib {

CContainerUI::~CContainerUI() { RemoveAll(); }

const wchar_t* CContainerUI::GetClass() const { return L"ContainerUI"; }

LPVOID CContainerUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"Container") == 0) return this;
    return CControlUI::GetInterface(pstrName);
}

CControlUI* CContainerUI::GetItemAt(int iIndex) const {
    if (iIndex < 0 || iIndex >= GetCount()) return nullptr;
    return m_items[static_cast<size_t>(iIndex)];
}

int CContainerUI::GetItemIndex(CControlUI* pControl) const {
    const auto it = std::find(m_items.begin(), m_items.end(), pControl);
    return it == m_items.end() ? -1 : static_cast<int>(it - m_items.begin());
}

int CContainerUI::GetCount() const { return static_cast<int>(m_items.size()); }

bool CContainerUI::Add(CControlUI* pControl) { return AddAt(pControl, GetCount()); }

bool CContainerUI::AddAt(CControlUI* pControl, int iIndex) {
    if (pControl == nullptr || iIndex < 0 || iIndex > GetCount()) return false;
    m_items.insert(m_items.begin() + iIndex, pControl);
    if (m_pManager != nullptr) {
        m_pManager->InitControls(pControl, this);
    } else {
        pControl->SetManager(nullptr, this, false);
    }
    if (IsVisible()) {
        NeedUpdate();
    } else {
        pControl->SetInternVisible(false);
    }
    return true;
}

bool CContainerUI::Remove(CControlUI* pControl) {
    const auto it = std::find(m_items.begin(), m_items.end(), pControl);
    if (it == m_items.end()) return false;
    m_items.erase(it);
    delete pControl;
    NeedUpdate();
    return true;
}

void CContainerUI::RemoveAll() {
    std::vector<CControlUI*> items;
    items.swap(m_items);
    for (CControlUI* pItem : items) delete pItem;
}

void CContainerUI::SetInset(RECT rcInset) {
    m_rcInset = rcInset;
    NeedUpdate();
}

void CContainerUI::SetChildPadding(int iPadding) {
    m_iChildPadding = iPadding;
    NeedUpdate();
}

void CContainerUI::SetManager(CPaintManagerUI* pManager, CControlUI* pParent, bool bInit) {
    for (CControlUI* pItem : m_items) pItem->SetManager(pManager, this, bInit);
    CControlUI::SetManager(pManager, pParent, bInit);
}

void CContainerUI::SetVisible(bool bVisible) {
    if (m_bVisible == bVisible) return;
    CControlUI::SetVisible(bVisible);
    for (CControlUI* pItem : m_items) pItem->SetInternVisible(IsVisible());
}

void CContainerUI::SetInternVisible(bool bVisible) {
    CControlUI::SetInternVisible(bVisible);
    for (CControlUI* pItem : m_items) pItem->SetInternVisible(IsVisible());
}

CControlUI* CContainerUI::FindControl(FINDCONTROLPROC Proc, LPVOID pData, UINT uFlags) {
    if ((uFlags & UIFIND_VISIBLE) != 0 && !IsVisible()) return nullptr;
    if ((uFlags & UIFIND_ENABLED) != 0 && !IsEnabled()) return nullptr;
    const bool bHitTest = (uFlags & UIFIND_HITTEST) != 0;
    if (bHitTest && !::PtInRect(&m_rcItem, *static_cast<const POINT*>(pData))) return nullptr;
    if ((uFlags & UIFIND_ME_FIRST) != 0 && (!bHitTest || IsMouseEnabled())) {
        if (CControlUI* pResult = Proc(this, pData)) return pResult;
    }
    // Later children are painted over earlier ones, so a point finds them first.
    const bool bTopFirst = (uFlags & UIFIND_TOP_FIRST) != 0;
    for (int i = 0; i < GetCount(); ++i) {
        CControlUI* pItem = m_items[static_cast<size_t>(bTopFirst ? GetCount() - 1 - i : i)];
        if (CControlUI* pResult = pItem->FindControl(Proc, pData, uFlags)) return pResult;
    }
    if ((uFlags & UIFIND_ME_FIRST) == 0 && (!bHitTest || IsMouseEnabled())) return Proc(this, pData);
    return nullptr;
}

RECT CContainerUI::InnerRect() const {
    RECT rc = m_rcItem;
    rc.left += Scale(m_rcInset.left);
    rc.top += Scale(m_rcInset.top);
    rc.right -= Scale(m_rcInset.right);
    rc.bottom -= Scale(m_rcInset.bottom);
    return rc;
}

void CContainerUI::SetFloatPos(CControlUI* pControl) {
    const RECT rcInner = InnerRect();
    const SIZE xy = pControl->GetFixedXY();
    const int cx = pControl->GetFixedWidth();
    const int cy = pControl->GetFixedHeight();
    pControl->SetPos(RECT{rcInner.left + xy.cx, rcInner.top + xy.cy, rcInner.left + xy.cx + cx, rcInner.top + xy.cy + cy});
}

void CContainerUI::SetPos(RECT rc) {
    CControlUI::SetPos(rc);
    const RECT rcInner = InnerRect();
    for (CControlUI* pItem : m_items) {
        if (!pItem->IsVisible()) continue;
        if (pItem->IsFloat()) {
            SetFloatPos(pItem);
        } else {
            const RECT pad = pItem->GetPadding();
            pItem->SetPos(RECT{rcInner.left + pad.left, rcInner.top + pad.top, rcInner.right - pad.right,
                               rcInner.bottom - pad.bottom});
        }
    }
}

void CContainerUI::DoPaint(HDC hDC, const RECT& rcPaint) {
    RECT rcTemp = {};
    if (!::IntersectRect(&rcTemp, &rcPaint, &m_rcItem)) return;
    CControlUI::DoPaint(hDC, rcPaint);
    for (CControlUI* pItem : m_items) {
        if (!pItem->IsVisible()) continue;
        RECT rcChild = {};
        if (::IntersectRect(&rcChild, &rcTemp, &pItem->GetPos())) pItem->DoPaint(hDC, rcTemp);
    }
}

void CContainerUI::SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) {
    if (wcscmp(pstrName, L"inset") == 0) {
        SetInset(SkinValues::ParseRect(pstrValue));
    } else if (wcscmp(pstrName, L"childpadding") == 0) {
        SetChildPadding(_wtoi(pstrValue));
    } else {
        CControlUI::SetAttribute(pstrName, pstrValue);
    }
}

void CContainerUI::LayoutLine(bool bVertical) {
    const std::vector<CControlUI*>& items = m_items;
    const RECT rcInner = InnerRect();
    const long nChildPadding = Scale(m_iChildPadding);
    const long nAvailable = bVertical ? rcInner.bottom - rcInner.top : rcInner.right - rcInner.left;
    long nFixed = 0;
    int nAdjustable = 0;
    int nLaidOut = 0;
    for (CControlUI* pItem : items) {
        if (!pItem->IsVisible() || pItem->IsFloat()) continue;
        const RECT pad = pItem->GetPadding();
        const long nLength = bVertical ? pItem->GetFixedHeight() : pItem->GetFixedWidth();
        nFixed += nLength + (bVertical ? pad.top + pad.bottom : pad.left + pad.right);
        if (nLength == 0) ++nAdjustable;
        ++nLaidOut;
    }
    if (nLaidOut > 1) nFixed += static_cast<long>(nChildPadding) * (nLaidOut - 1);
    const long nShare = nAdjustable > 0 ? std::max(0L, nAvailable - nFixed) / nAdjustable : 0;
    const long nRest = nAdjustable > 0 ? std::max(0L, nAvailable - nFixed) - nShare * nAdjustable : 0;

    long nCursor = bVertical ? rcInner.top : rcInner.left;
    for (CControlUI* pItem : items) {
        if (!pItem->IsVisible()) continue;
        if (pItem->IsFloat()) {
            SetFloatPos(pItem);
            continue;
        }
        const RECT pad = pItem->GetPadding();
        long nLength = bVertical ? pItem->GetFixedHeight() : pItem->GetFixedWidth();
        if (nLength == 0) {
            nLength = nShare + (--nAdjustable == 0 ? nRest : 0);
        }
        RECT rc;
        if (bVertical) {
            const long nWidth = pItem->GetFixedWidth();
            rc.top = nCursor + pad.top;
            rc.bottom = rc.top + nLength;
            rc.left = rcInner.left + pad.left;
            rc.right = nWidth > 0 ? rc.left + nWidth : rcInner.right - pad.right;
            nCursor = rc.bottom + pad.bottom + nChildPadding;
        } else {
            const long nHeight = pItem->GetFixedHeight();
            rc.left = nCursor + pad.left;
            rc.right = rc.left + nLength;
            rc.top = rcInner.top + pad.top;
            rc.bottom = nHeight > 0 ? rc.top + nHeight : rcInner.bottom - pad.bottom;
            if (nHeight > 0) {
                // A shorter child sits in the middle of the line.
                const long nSpace = (rcInner.bottom - rcInner.top) - pad.top - pad.bottom - nHeight;
                if (nSpace > 0) {
                    rc.top += nSpace / 2;
                    rc.bottom += nSpace / 2;
                }
            }
            nCursor = rc.right + pad.right + nChildPadding;
        }
        pItem->SetPos(rc);
    }
}

const wchar_t* CVerticalLayoutUI::GetClass() const { return L"VerticalLayoutUI"; }

LPVOID CVerticalLayoutUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"VerticalLayout") == 0) return this;
    return CContainerUI::GetInterface(pstrName);
}

void CVerticalLayoutUI::SetPos(RECT rc) {
    CControlUI::SetPos(rc);
    LayoutLine(true);
}

const wchar_t* CHorizontalLayoutUI::GetClass() const { return L"HorizontalLayoutUI"; }

LPVOID CHorizontalLayoutUI::GetInterface(const wchar_t* pstrName) {
    if (pstrName != nullptr && wcscmp(pstrName, L"HorizontalLayout") == 0) return this;
    return CContainerUI::GetInterface(pstrName);
}

void CHorizontalLayoutUI::SetPos(RECT rc) {
    CControlUI::SetPos(rc);
    LayoutLine(false);
}

}  // namespace UiLib
