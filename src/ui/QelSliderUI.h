// The video player's progress slider: a toolkit slider that also shows a row of small
// images (video dots) at chosen points of its scale and tells its window, through the
// notifications "videodothot" and "videodotkillfocus", when the mouse comes onto a dot
// and when it leaves it. Skins create it with the tag "QelSlider".
#pragma once

#include <string>
#include <vector>

#include "QelExport.h"
#include "uilib/UiLib.h"

namespace UiLib {

// One dot: where it sits on the slider's scale (the slider's own unit), where the slider
// drew it (client coordinates, overwritten at every layout) and two texts of the caller's
// that travel with it.
struct QEL_API _QelVideoDotsData {
    long long llTime = 0;
    RECT rcDot = {0, 0, 0, 0};
    std::wstring strText1;
    std::wstring strText2;
};

class QEL_API QelSliderUI : public CSliderUI {
public:
    QelSliderUI();
    ~QelSliderUI() override;
    QelSliderUI(const QelSliderUI&) = default;
    QelSliderUI& operator=(const QelSliderUI&) = default;

    const wchar_t* GetClass() const override;  // "QelSliderUI"
    // this for "QelSlider"; otherwise what a progress bar answers.
    LPVOID GetInterface(const wchar_t* pstrName) override;
    void DoEvent(TEventUI& event) override;
    // "dotimage", "dothotimage", "dotsize", then every attribute as a slider has it.
    void SetAttribute(const wchar_t* pstrName, const wchar_t* pstrValue) override;
    // Track and thumb, then the dots above them.
    void PaintStatusImage(HDC hDC) override;

    void SetDotImage(const wchar_t* pStrImage);
    const wchar_t* GetDotImage() const;
    void SetDotHotImage(const wchar_t* pStrImage);
    const wchar_t* GetDotHotImage() const;
    // The skin's size at 96 DPI; the dots are drawn at the window's DPI.
    void SetDotSize(int nSize);
    int GetDotSize() const;
    int GetHotDotIndex() const;

    // Replaces the dots; lays them out at once when the slider has been laid out already.
    void SetVideoDots(const std::vector<_QelVideoDotsData>& vecDots);
    // The dots where they were last laid out.
    const std::vector<_QelVideoDotsData>& GetVideoDots() const { return m_vecVideoDots; }
    // Lays the dots out again at the next paint: call after the range or size changed.
    void UpdateVideoDotsRect();

protected:
    // Places every dot along the track (horizontally, whatever the orientation).
    void LayoutVideoDots();
    // True when an enabled slider has a dot under pt; the first such dot becomes hot.
    bool IsInDot(POINT pt);

    SIZE m_szDot;
    CDuiString m_sDotImage;
    CDuiString m_sDotHotImage;
    UINT m_uDotState;
    std::vector<_QelVideoDotsData> m_vecVideoDots;
    int m_nHotDotIndex;
    bool m_bUpdateDotsRect;
};

}  // namespace UiLib
