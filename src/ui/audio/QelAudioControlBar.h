// What the two embedded audio windows do alike with the controls of their bar: the mute
// pair, the volume set through its slider, and the reactions to the two sliders.
#pragma once

#include "ui/audio/QelAudioPlayerWindow.h"

namespace QelAudioControlBar {

// Null controls are skipped.
void ShowControl(UiLib::CControlUI* pControl, bool bVisible);
// Shows the button that undoes the state: "muted" while muted, "mute" otherwise.
void ShowMutePair(UiLib::CControlUI* pBtnMute, UiLib::CControlUI* pBtnMuted, bool bMuted);
// Through the slider, so that its range limits the volume; straight to the player when
// the skin has no volume slider.
void SetVolumeThroughSlider(QelAudioPlayerWindow& window, UiLib::CSliderUI* pVolumeSlider, int nVolume);
// "valuechanged" or "movevaluechanged" from "audio_volume_slider" (volume and the mute
// pair) or "audio_play_slider" (a seek); anything else is ignored.
void OnSliderChanged(QelAudioPlayerWindow& window, UiLib::TNotifyUI& msg, UiLib::CControlUI* pBtnMute,
                     UiLib::CControlUI* pBtnMuted);

}  // namespace QelAudioControlBar
