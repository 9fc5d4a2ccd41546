#include "ui/audio/QelAudioControlBar.h"

namespace QelAudioControlBar {

void ShowControl(UiLib::CControlUI* pControl, bool bVisible) {
    if (pControl != nullptr) pControl->SetVisible(bVisible);
}

void ShowMutePair(UiLib::CControlUI* pBtnMute, UiLib::CControlUI* pBtnMuted, bool bMuted) {
    ShowControl(pBtnMute, !bMuted);
    ShowControl(pBtnMuted, bMuted);
}

void SetVolumeThroughSlider(QelAudioPlayerWindow& window, UiLib::CSliderUI* pVolumeSlider, int nVolume) {
    if (pVolumeSlider == nullptr) {
        window.SetVolume(nVolume);
        return;
    }
    pVolumeSlider->SetValue(nVolume);
    window.SetVolume(pVolumeSlider->GetValue());
}

void OnSliderChanged(QelAudioPlayerWindow& window, UiLib::TNotifyUI& msg, UiLib::CControlUI* pBtnMute,
                     UiLib::CControlUI* pBtnMuted) {
    if (msg.sType != DUI_MSGTYPE_VALUECHANGED && msg.sType != DUI_MSGTYPE_MOVEVALUECHANGED) return;
    auto* pSlider = msg.pSender != nullptr
                        ? static_cast<UiLib::CProgressUI*>(msg.pSender->GetInterface(L"Progress"))
                        : nullptr;
    if (pSlider == nullptr) return;
    const UiLib::CDuiString strName = pSlider->GetName();
    if (strName == L"audio_volume_slider") {
        const int nVolume = pSlider->GetValue();
        window.SetVolume(nVolume);
        ShowMutePair(pBtnMute, pBtnMuted, nVolume <= 0);
    } else if (strName == L"audio_play_slider") {
        // One higher here and once more in Seek: the far end of the slider asks past the
        // end of the media, which the player ignores.
        window.Seek(static_cast<int>(static_cast<unsigned int>(pSlider->GetValue()) + 1u));
    }
}

}  // namespace QelAudioControlBar
