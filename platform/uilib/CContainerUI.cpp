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

namespace {

long FixedLength(const CControlUI* pItem, bool bVertical) {
    return bVertical ? pItem->GetFixedHeight() : pItem->GetFixedWidth();
}

long MinLength(const CControlUI* pItem, bool bVertical) {
    return bVertical ? pItem->GetMinHeight() : pItem->GetMinWidth();
}

long PaddingAlong(const CControlUI* pItem, bool bVertical) {
    const RECT pad = pItem->GetPadding();
    return bVertical ? pad.top + pad.bottom : pad.left + pad.right;
}

bool IsInLine(const CControlUI* pItem) { return pItem->IsVisible() && !pItem->IsFloat(); }

}  // namespace

long CContainerUI::LineLengthNeeded(bool bVertical) const {
    long nNeeded = 0;
    long nCount = 0;
    for (const CControlUI* pItem : m_items) {
        if (!IsInLine(pItem)) continue;
        const long nFixed = FixedLength(pItem, bVertical);
        nNeeded += (nFixed > 0 ? nFixed : MinLength(pItem, bVertical)) + PaddingAlong(pItem, bVertical);
        ++nCount;
    }
    return nNeeded + (nCount > 1 ? Scale(m_iChildPadding) * (nCount - 1) : 0);
}

void CContainerUI::GiveWayUntilFits(bool bVertical, long nAvailable) {
    // Every layout decides afresh, so that a line that grew takes its controls back.
    for (CControlUI* pItem : m_items) pItem->SetGivenWay(false);
    while (LineLengthNeeded(bVertical) > nAvailable) {
        int nNext = 0;
        for (const CControlUI* pItem : m_items) {
            const int nOrder = pItem->GetHideOrder();
            if (IsInLine(pItem) && nOrder > 0 && (nNext == 0 || nOrder < nNext)) nNext = nOrder;
        }
        if (nNext == 0) return;  // nothing else may give way: the line runs over its end
        for (CControlUI* pItem : m_items) {
            if (IsInLine(pItem) && pItem->GetHideOrder() == nNext) pItem->SetGivenWay(true);
        }
    }
}

std::vector<long> CContainerUI::LineLengths(bool bVertical, long nAvailable) const {
    std::vector<long> vecLengths(m_items.size(), 0);
    std::vector<size_t> vecStretching;
    long nLeft = nAvailable;
    long nCount = 0;
    for (size_t i = 0; i < m_items.size(); ++i) {
        if (!IsInLine(m_items[i])) continue;
        vecLengths[i] = FixedLength(m_items[i], bVertical);
        if (vecLengths[i] == 0) vecStretching.push_back(i);
        nLeft -= vecLengths[i] + PaddingAlong(m_items[i], bVertical);
        ++nCount;
    }
    if (nCount > 1) nLeft -= Scale(m_iChildPadding) * (nCount - 1);
    nLeft = std::max(0L, nLeft);
    // Equal shares of what is left, except that a child whose minimum is above its share
    // takes its minimum and the others share the rest.
    for (bool bTookMinimum = true; bTookMinimum && !vecStretching.empty();) {
        bTookMinimum = false;
        const long nShare = nLeft / static_cast<long>(vecStretching.size());
        for (auto it = vecStretching.begin(); it != vecStretching.end();) {
            const long nMin = MinLength(m_items[*it], bVertical);
            if (nMin <= nShare) {
                ++it;
                continue;
            }
            vecLengths[*it] = nMin;
            nLeft = std::max(0L, nLeft - nMin);
            it = vecStretching.erase(it);
            bTookMinimum = true;
        }
    }
    if (vecStretching.empty()) return vecLengths;
    const long nShare = nLeft / static_cast<long>(vecStretching.size());
    for (size_t i : vecStretching) vecLengths[i] = nShare;
    vecLengths[vecStretching.back()] += nLeft - nShare * static_cast<long>(vecStretching.size());
    return vecLengths;
}

void CContainerUI::LayoutLine(bool bVertical) {
    const RECT rcInner = InnerRect();
    const long nChildPadding = Scale(m_iChildPadding);
    const long nAvailable = bVertical ? rcInner.bottom - rcInner.top : rcInner.right - rcInner.left;
    GiveWayUntilFits(bVertical, nAvailable);
    const std::vector<long> vecLengths = LineLengths(bVertical, nAvailable);

    long nCursor = bVertical ? rcInner.top : rcInner.left;
    for (size_t i = 0; i < m_items.size(); ++i) {
        CControlUI* pItem = m_items[i];
        if (pItem->HasGivenWay()) {
            // No room: an empty rectangle, so that a control with a window of its own
            // shrinks that window away too.
            pItem->SetPos(bVertical ? RECT{rcInner.left, nCursor, rcInner.left, nCursor}
                                    : RECT{nCursor, rcInner.top, nCursor, rcInner.top});
            continue;
        }
        if (!pItem->IsVisible()) continue;
        if (pItem->IsFloat()) {
            SetFloatPos(pItem);
            continue;
        }
        const RECT pad = pItem->GetPadding();
        const long nLength = vecLengths[i];
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
