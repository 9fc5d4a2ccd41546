// Push buttons and two-state options, with images for each of their states.
#pragma once

#include "uilib/CLabelUI.h"

namespace UiLib {

class UILIB_API CButtonUI : public CLabelUI {
public:
    CButtonUI();
    const wchar_t* GetClass() const override;           // "ButtonUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Button"
    // Sends "click".
    bool Activate() override;
    void SetEnabled(bool bEnable = true) override;
    void DoEvent(TEventUI& event) override;

    const wchar_t* GetNormalImage() const { return m_sNormalImage; }
    void SetNormalImage(const wchar_t* pStrImage);
    void SetHotImage(const wchar_t* pStrImage);
    void SetPushedImage(const wchar_t* pStrImage);
    void SetDisabledImage(const wchar_t* pStrImage);
    void SetHotTextColor(DWORD dwColor) { m_dwHotTextColor = dwColor; }
    UINT GetButtonState() const { return m_uButtonState; }

    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;
    void PaintText(HDC hDC) override;
    void PaintStatusImage(HDC hDC) override;

protected:
    static bool IsKeyboardActivation(wchar_t chKey);

    UINT m_uButtonState = 0;
    DWORD m_dwHotTextColor = 0;
    CDuiString m_sNormalImage;
    CDuiString m_sHotImage;
    CDuiString m_sPushedImage;
    CDuiString m_sDisabledImage;
};

class UILIB_API COptionUI : public CButtonUI {
public:
    const wchar_t* GetClass() const override;           // "OptionUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Option"
    // Sends "click", then toggles the selection and sends "selectchanged".
    bool Activate() override;
    bool IsSelected() const { return m_bSelected; }
    void Selected(bool bSelected);
    void SetSelectedImage(const wchar_t* pStrImage);

    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;
    void PaintStatusImage(HDC hDC) override;

protected:
    bool m_bSelected = false;
    CDuiString m_sSelectedImage;
};

}  // namespace UiLib
