// A progress bar with a thumb: press, drag and release set the value; the wheel steps it.
#pragma once

#include "uilib/CProgressUI.h"

namespace UiLib {

class UILIB_API CSliderUI : public CProgressUI {
public:
    CSliderUI();
    const wchar_t* GetClass() const override;           // "SliderUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Slider"
    void SetEnabled(bool bEnable = true) override;

    int GetChangeStep() const { return m_nStep; }
    void SetChangeStep(int step) { m_nStep = step; }
    // As the skin gives it, at 96 DPI.
    SIZE GetThumbSize() const { return m_szThumb; }
    void SetThumbSize(SIZE szXY);
    // At the window's DPI, as it is drawn and hit.
    SIZE GetScaledThumbSize() const;
    // Where the thumb is drawn for the current value.
    RECT GetThumbRect() const;
    void SetThumbImage(const wchar_t* pStrImage);
    void SetThumbHotImage(const wchar_t* pStrImage);
    void SetThumbPushedImage(const wchar_t* pStrImage);
    UINT GetButtonState() const { return m_uButtonState; }

    void DoEvent(TEventUI& event) override;
    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;
    void PaintStatusImage(HDC hDC) override;

protected:
    // The value under a point of the track (the thumb's centre follows the point); the
    // ends are within half a thumb of the track's edges.
    int ValueFromPoint(POINT pt) const;

    SIZE m_szThumb = {10, 10};
    UINT m_uButtonState = 0;
    int m_nStep = 1;
    CDuiString m_sThumbImage;
    CDuiString m_sThumbHotImage;
    CDuiString m_sThumbPushedImage;
    CDuiString m_sImageModify;
};

}  // namespace UiLib
