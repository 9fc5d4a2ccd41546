// Text controls: a one-line label and a text control that wraps its text.
#pragma once

#include "uilib/CControlUI.h"

namespace UiLib {

class UILIB_API CLabelUI : public CControlUI {
public:
    CLabelUI();
    const wchar_t* GetClass() const override;           // "LabelUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Label"

    // DrawText flags: DT_LEFT/DT_CENTER/DT_RIGHT, DT_TOP/DT_VCENTER/DT_BOTTOM, ...
    void SetTextStyle(UINT uStyle);
    UINT GetTextStyle() const { return m_uTextStyle; }
    void SetTextColor(DWORD dwTextColor);
    DWORD GetTextColor() const { return m_dwTextColor; }
    void SetDisabledTextColor(DWORD dwTextColor);
    DWORD GetDisabledTextColor() const { return m_dwDisabledTextColor; }
    // Index of a font the skin declared; -1 is the window's default font.
    void SetFont(int index);
    int GetFont() const { return m_iFont; }
    RECT GetTextPadding() const { return m_rcTextPadding; }
    void SetTextPadding(RECT rc);

    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;
    void PaintText(HDC hDC) override;

protected:
    DWORD m_dwTextColor = 0;
    DWORD m_dwDisabledTextColor = 0;
    int m_iFont = -1;
    UINT m_uTextStyle;
    RECT m_rcTextPadding = {0, 0, 0, 0};
};

class UILIB_API CTextUI : public CLabelUI {
public:
    CTextUI();
    const wchar_t* GetClass() const override;           // "TextUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Text"
};

}  // namespace UiLib
