// The player window of the audio control (QelAudioUI): an audio player window with a
// control bar (play, pause, stop, mute pair, position slider, time text, volume slider)
// and a background control "bk" that shows a picture the host chooses. The play and
// pause buttons follow what the window believes about playback at every refresh.
#pragma once

#include <memory>
#include <string>

#include "ui/audio/QelAudioPlayerWindow.h"

namespace UiLib {

class QelAudioUI;

class QelAudioUIWindow : public QelAudioPlayerWindow {
public:
    QelAudioUIWindow(const wchar_t* skinFile, CPaintManagerUI* pPaintManager);
    ~QelAudioUIWindow() override;

    // Finds the named controls, refreshes, then connects the player and plays the stored
    // path.
    void InitWindow() override;
    void OnClickEvent(TNotifyUI& msg) override;
    // Both slider notifications alike: the volume slider sets the volume and the mute
    // pair, the position slider seeks.
    void OnOtherEvent(TNotifyUI& msg) override;
    // Play or pause button by the playing state; the background picture when its file
    // exists.
    void UpdateUI() override;

protected:
    friend class QelAudioUI;

    const wchar_t* GetWindowClassName() const override;
    // The window's object lives as long as its handle even when no control refers to it
    // any more; it goes with the handle (see QelAudioUI).
    void OnFinalMessage(HWND hWnd) override;

    // Refreshes only; the ended state stays as it is.
    void Playing() override;
    void PosChanged(const std::wstring& strTime, int nPos) override;
    // Refreshes and zeroes the slider and the time text (the window has already stopped).
    void EndReached() override;

    CControlUI* m_pBkCtrl;
    CControlUI* m_pBtnPlay;
    CControlUI* m_pBtnPause;
    CControlUI* m_pBtnVolume;
    CControlUI* m_pBtnStop;
    CSliderUI* m_pPlaySlider;
    CControlUI* m_pTimeLabel;
    CControlUI* m_pBtnMute;
    CControlUI* m_pBtnMuted;
    CSliderUI* m_pVolumeSlider;
    int m_nSavedVolume;
    bool m_bReserved;
    std::wstring m_strBkImage;
    // Set by QelAudioUI once the handle exists, released with the handle.
    std::shared_ptr<QelAudioUIWindow> m_pSelf;
};

}  // namespace UiLib
