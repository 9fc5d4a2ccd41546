#include "QelPlayingState.h"

#include <vector>

#include "ui/QelSliderUI.h"

namespace {

void SetVisible(UiLib::CPaintManagerUI& pm, const wchar_t* pszName, bool bVisible) {
    if (UiLib::CControlUI* pControl = pm.FindControl(pszName)) pControl->SetVisible(bVisible);
}

void SetText(UiLib::CPaintManagerUI& pm, const wchar_t* pszName, const wchar_t* pszText) {
    if (UiLib::CControlUI* pControl = pm.FindControl(pszName)) pControl->SetText(pszText);
}

UiLib::CProgressUI* FindProgress(UiLib::CPaintManagerUI& pm, const wchar_t* pszName) {
    UiLib::CControlUI* pControl = pm.FindControl(pszName);
    return pControl ? static_cast<UiLib::CProgressUI*>(pControl->GetInterface(L"Progress")) : nullptr;
}

}  // namespace

void QelShowPlayingState(UiLib::CPaintManagerUI& pm) {
    // The video player: 10 minutes long, at 3:20, with three chapters marked.
    SetVisible(pm, L"btn_video_play", false);
    SetVisible(pm, L"btn_video_pause", true);
    SetText(pm, L"video_time", L"00:03:20 / 00:10:00");
    if (UiLib::CControlUI* pControl = pm.FindControl(L"video_play_slider")) {
        if (auto* pSlider = static_cast<UiLib::QelSliderUI*>(pControl->GetInterface(L"QelSlider"))) {
            pSlider->SetMaxValue(600);
            pSlider->SetValue(200);
            std::vector<UiLib::_QelVideoDotsData> vecDots(3);
            vecDots[0].llTime = 95;
            vecDots[1].llTime = 290;
            vecDots[2].llTime = 470;
            pSlider->SetVideoDots(vecDots);
            pSlider->UpdateVideoDotsRect();
        }
    }

    // The audio player: 4 minutes long, at 1:24.
    SetVisible(pm, L"btn_audio_play", false);
    SetVisible(pm, L"btn_audio_pause", true);
    SetText(pm, L"audio_time", L"00:01:24 / 00:04:00");
    if (UiLib::CProgressUI* pSlider = FindProgress(pm, L"audio_play_slider")) pSlider->SetValue(350);
}
