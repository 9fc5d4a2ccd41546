// Controls that hold controls: the plain container (children stacked over its whole
// rectangle) and the vertical and horizontal layouts of a skin.
#pragma once

#include "uilib/CControlUI.h"

#include <vector>

namespace UiLib {

class UILIB_API CContainerUI : public CControlUI {
public:
    CContainerUI() = default;
    CContainerUI(const CContainerUI&) = delete;
    CContainerUI& operator=(const CContainerUI&) = delete;
    ~CContainerUI() override;

    const wchar_t* GetClass() const override;           // "ContainerUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Container"

    CControlUI* GetItemAt(int iIndex) const;
    int GetItemIndex(CControlUI* pControl) const;
    int GetCount() const;
    // The container owns what it holds and deletes it in Remove and its destructor.
    bool Add(CControlUI* pControl);
    bool AddAt(CControlUI* pControl, int iIndex);
    bool Remove(CControlUI* pControl);
    void RemoveAll();

    RECT GetInset() const { return m_rcInset; }
    void SetInset(RECT rcInset);
    int GetChildPadding() const { return m_iChildPadding; }
    void SetChildPadding(int iPadding);

    void SetManager(CPaintManagerUI* pManager, CControlUI* pParent, bool bInit = true) override;
    void SetVisible(bool bVisible = true) override;
    void SetInternVisible(bool bVisible = true) override;
    CControlUI* FindControl(FINDCONTROLPROC Proc, LPVOID pData, UINT uFlags) override;
    void SetPos(RECT rc) override;
    void DoPaint(HDC hDC, const RECT& rcPaint) override;
    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;

protected:
    // Places a floating child at its fixed offset and size inside this container.
    void SetFloatPos(CControlUI* pControl);
    RECT InnerRect() const;
    // Lays the children out along one axis: fixed lengths first, the rest shared
    // equally (never below a child's minimum); across the axis a child fills the line
    // unless it fixes its length. Children with a hide order give way while the line is
    // too short for them all.
    void LayoutLine(bool bVertical);
    // Fixed lengths, minimums of the others, paddings and gaps of the children in line.
    long LineLengthNeeded(bool bVertical) const;
    void GiveWayUntilFits(bool bVertical, long nAvailable);
    // The length along the line of each child (0 for those not in it).
    std::vector<long> LineLengths(bool bVertical, long nAvailable) const;

    std::vector<CControlUI*> m_items;
    RECT m_rcInset = {0, 0, 0, 0};
    int m_iChildPadding = 0;
};

// Children top to bottom: fixed heights first, the rest shared by the others.
class UILIB_API CVerticalLayoutUI : public CContainerUI {
public:
    const wchar_t* GetClass() const override;           // "VerticalLayoutUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "VerticalLayout"
    void SetPos(RECT rc) override;
};

// Children left to right: fixed widths first, the rest shared by the others.
class UILIB_API CHorizontalLayoutUI : public CContainerUI {
public:
    const wchar_t* GetClass() const override;           // "HorizontalLayoutUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "HorizontalLayout"
    void SetPos(RECT rc) override;
};

}  // namespace UiLib
