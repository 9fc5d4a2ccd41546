// A bar filled in proportion to a value in a range; the slider adds a thumb to drag.
#pragma once

#include "uilib/CLabelUI.h"

namespace UiLib {

class UILIB_API CProgressUI : public CLabelUI {
public:
    CProgressUI() = default;
    const wchar_t* GetClass() const override;           // "ProgressUI"
    LPVOID GetInterface(const wchar_t* pstrName) override;  // "Progress"

    bool IsHorizontal() const { return m_bHorizontal; }
    void SetHorizontal(bool bHorizontal = true);
    int GetMinValue() const { return m_nMin; }
    void SetMinValue(int nMin);
    int GetMaxValue() const { return m_nMax; }
    void SetMaxValue(int nMax);
    int GetValue() const { return m_nValue; }
    // Clamps to the range.
    void SetValue(int nValue);
    const wchar_t* GetForeImage() const { return m_sForeImage; }
    void SetForeImage(const wchar_t* pStrImage);

    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;
    void PaintStatusImage(HDC hDC) override;

protected:
    bool m_bHorizontal = true;
    int m_nMax = 100;
    int m_nMin = 0;
    int m_nValue = 0;
    CDuiString m_sForeImage;
};

}  // namespace UiLib
