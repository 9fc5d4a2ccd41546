// The audio player a document embeds (through the ActiveX control): the audio player
// window plus the control bar of its skin ("audio/audio.xml"): play and pause buttons, a
// position slider in thousandths, the time text, a mute pair and a volume slider in
// libvlc's units. Clicks and slider moves become player calls; the player's position and
// end messages move the slider, the text and the buttons.
//
// The buttons follow clicks and the end of the media, not the space key. A skin with the
// mute buttons is expected to have the volume slider too.
#pragma once

#include "ui/audio/QelAudioPlayerWindow.h"

class QelAudioPlayerPPTWindow : public QelAudioPlayerWindow {
public:
    QelAudioPlayerPPTWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager);
    ~QelAudioPlayerPPTWindow() override;

    // Finds the named controls, shows pause rather than play, then connects the player
    // and plays the stored path.
    void InitWindow() override;
    void OnClickEvent(UiLib::TNotifyUI& msg) override;
    // Both slider notifications alike: the volume slider sets the volume and the mute
    // pair, the position slider seeks.
    void OnOtherEvent(UiLib::TNotifyUI& msg) override;

protected:
    const wchar_t* GetWindowClassName() const override;

    // Leaves the ended state as it is and refreshes nothing.
    void Playing() override;
    void PosChanged(const std::wstring& strTime, int nPos) override;
    // Play button, zero time text and slider, then stops.
    void EndReached() override;

    UiLib::CControlUI* m_pBtnPlay;
    UiLib::CControlUI* m_pBtnPause;
    UiLib::CControlUI* m_pBtnVolume;
    UiLib::CSliderUI* m_pPlaySlider;
    UiLib::CControlUI* m_pBtnMute;
    UiLib::CControlUI* m_pBtnMuted;
    UiLib::CSliderUI* m_pVolumeSlider;
    UiLib::CControlUI* m_pTimeLabel;
};
