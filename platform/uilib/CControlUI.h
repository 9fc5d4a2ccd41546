// The base of every control of a skin: a rectangle in its window's client area, a name,
// visibility and enabled state, colours, a background image and text, attributes set
// from the skin, events in, notifications out through the paint manager.
#pragma once

#include "uilib/UIBase.h"

namespace UiLib {

class UILIB_API CControlUI {
public:
    CControlUI();
    CControlUI(const CControlUI&) = default;
    CControlUI& operator=(const CControlUI&) = default;
    virtual ~CControlUI();

    virtual CDuiString GetName() const;
    virtual void SetName(const wchar_t* pstrName);
    virtual const wchar_t* GetClass() const;           // "ControlUI"
    virtual LPVOID GetInterface(const wchar_t* pstrName);  // this for "Control"
    virtual bool Activate();                             // visible and enabled

    virtual CPaintManagerUI* GetManager() const;
    virtual void SetManager(CPaintManagerUI* pManager, CControlUI* pParent, bool bInit = true);
    virtual CControlUI* GetParent() const;

    virtual CDuiString GetText() const;
    virtual void SetText(const wchar_t* pstrText);
    // Shown by the paint manager while the pointer rests on the control; empty: none.
    const CDuiString& GetToolTip() const { return m_sToolTip; }
    void SetToolTip(const wchar_t* pstrText) { m_sToolTip = pstrText; }

    DWORD GetBkColor() const { return m_dwBackColor; }
    void SetBkColor(DWORD dwBackColor);
    const wchar_t* GetBkImage() const { return m_sBkImage; }
    void SetBkImage(const wchar_t* pStrImage);
    DWORD GetBorderColor() const { return m_dwBorderColor; }
    void SetBorderColor(DWORD dwBorderColor);
    int GetBorderSize() const { return m_nBorderSize; }
    void SetBorderSize(int nSize);
    // Draws an image description (see CRenderEngine) over this control's rectangle.
    bool DrawImage(HDC hDC, const wchar_t* pStrImage, const wchar_t* pStrModify = nullptr);

    // Position in the window's client coordinates, as the last layout gave it.
    virtual const RECT& GetPos() const;
    virtual void SetPos(RECT rc);
    virtual int GetWidth() const;
    virtual int GetHeight() const;
    virtual RECT GetPadding() const;
    virtual void SetPadding(RECT rcPadding);
    // For a floating control: its offset from the parent's top-left corner.
    virtual SIZE GetFixedXY() const;
    virtual void SetFixedXY(SIZE szXY);
    // 0 means "take what the layout gives"; stored unscaled, returned at the window's DPI.
    virtual int GetFixedWidth() const;
    virtual void SetFixedWidth(int cx);
    virtual int GetFixedHeight() const;
    virtual void SetFixedHeight(int cy);
    virtual bool IsFloat() const;
    virtual void SetFloat(bool bFloat = true);
    // A control that takes what its line gives is never given less than its minimum along
    // the line (0: no minimum); stored unscaled, returned at the window's DPI.
    int GetMinWidth() const { return Scale(m_cxyMin.cx); }
    void SetMinWidth(int cx);
    int GetMinHeight() const { return Scale(m_cxyMin.cy); }
    void SetMinHeight(int cy);
    // When a line is too short for its controls, those with a hide order give way, lowest
    // order first and all of one order together, until the rest fits. 0 never gives way.
    int GetHideOrder() const { return m_nHideOrder; }
    void SetHideOrder(int nOrder);
    // Set by the parent's layout while this control has given way: it is then not visible,
    // whatever SetVisible said, and the next layout may bring it back.
    bool HasGivenWay() const { return m_bGivenWay; }
    void SetGivenWay(bool bGivenWay) { m_bGivenWay = bGivenWay; }

    // Shown: made visible, inside visible containers, and not given way in its line.
    virtual bool IsVisible() const;
    virtual void SetVisible(bool bVisible = true);
    // Visibility inherited from the containers above; a control shows when both hold.
    virtual void SetInternVisible(bool bVisible = true);
    virtual bool IsEnabled() const;
    virtual void SetEnabled(bool bEnable = true);
    virtual bool IsMouseEnabled() const;
    virtual void SetMouseEnabled(bool bEnable = true);
    virtual bool IsFocused() const;
    virtual void SetFocus();

    // With UIFIND_HITTEST a control whose mouse input is disabled is transparent: the
    // search goes on to what lies below it. Mouse events then reach it only while it
    // holds the capture (pressed before its mouse input was disabled).
    virtual CControlUI* FindControl(FINDCONTROLPROC Proc, LPVOID pData, UINT uFlags);

    void Invalidate();
    bool IsUpdateNeeded() const { return m_bUpdateNeeded; }
    void NeedUpdate();
    void NeedParentUpdate();

    // Init is called once the control has a manager; it calls DoInit.
    virtual void Init();
    virtual void DoInit();
    // Event hands the event to DoEvent; DoEvent is where controls react. What a control
    // does not handle goes on to its parent's DoEvent.
    virtual void Event(TEventUI& event);
    virtual void DoEvent(TEventUI& event);

    virtual void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue);
    // Applies a list of name="value" pairs, as a skin writes them.
    CControlUI* ApplyAttributeList(const wchar_t* pstrList);

    virtual SIZE EstimateSize(SIZE szAvailable);
    virtual void DoPaint(HDC hDC, const RECT& rcPaint);
    virtual void PaintBkColor(HDC hDC);
    virtual void PaintBkImage(HDC hDC);
    virtual void PaintStatusImage(HDC hDC);
    virtual void PaintText(HDC hDC);
    virtual void PaintBorder(HDC hDC);

protected:
    // Scales a skin length to the window's DPI.
    int Scale(int n) const;

    CPaintManagerUI* m_pManager = nullptr;
    CControlUI* m_pParent = nullptr;
    CDuiString m_sName;
    bool m_bUpdateNeeded = true;
    RECT m_rcItem = {0, 0, 0, 0};
    RECT m_rcPadding = {0, 0, 0, 0};
    SIZE m_cXY = {0, 0};
    SIZE m_cxyFixed = {0, 0};
    SIZE m_cxyMin = {0, 0};
    int m_nHideOrder = 0;
    bool m_bGivenWay = false;
    bool m_bVisible = true;
    bool m_bInternVisible = true;
    bool m_bEnabled = true;
    bool m_bMouseEnabled = true;
    bool m_bFocused = false;
    bool m_bFloat = false;
    CDuiString m_sText;
    CDuiString m_sToolTip;
    CDuiString m_sBkImage;
    DWORD m_dwBackColor = 0;
    DWORD m_dwBorderColor = 0;
    int m_nBorderSize = 0;
    RECT m_rcPaint = {0, 0, 0, 0};
};

}  // namespace UiLib
