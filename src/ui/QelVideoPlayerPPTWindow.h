// The video player a document embeds (through the ActiveX control): the video player
// window plus its skin's controls. It creates the slider and the video surface for the
// skin, hands the surface's child window to the manager as render window, turns clicks
// and slider moves into player calls, keeps the time text, slider and buttons current
// through the hooks, keeps the render area clear of the control bar, and shows the dot
// pop-up over a hot video dot. Over the picture it shows the skin's loading line while a
// new video opens or the engine is caching, and a failure line once the open or a
// download failed, until the next play or stop.
//
// The skin must contain "video_area" (a QelVideoUI), "video_play_ctrl" and
// "video_volume_slider"; every other named control may be missing.
#pragma once

#include "ui/QelVideoDotPopupWidget.h"
#include "ui/QelVideoPlayerWindow.h"
#include "ui/QelVideoUI.h"

class QelVideoPlayerPPTWindow : public QelVideoPlayerWindow {
public:
    QelVideoPlayerPPTWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager);
    ~QelVideoPlayerPPTWindow() override;

    // "QelSlider" and "QelVideoUI", in any case; anything else is the toolkit's.
    UiLib::CControlUI* CreateControl(const wchar_t* pstrClass) override;
    // Finds the named controls and makes the surface's child window the render window.
    // It also hands the manager to the surface, so that a double click on the picture
    // pauses or resumes playback.
    void Init() override;
    void InitWindow() override;
    // A new open (not a resume) shows the loading line until the engine was asked to open.
    void Play(const std::wstring& path) override;
    void OnClickEvent(UiLib::TNotifyUI& msg) override;
    void OnOtherEvent(UiLib::TNotifyUI& msg) override;

    // The render area below the bar: the whole screen's width in full screen, else the
    // client rectangle's; the bar's height counts even while the bar is hidden.
    void RecalcRenderArea(bool bFull);
    void SetFullScreenFromButton(bool bFull);

protected:
    const wchar_t* GetWindowClassName() const override;
    // Notes a failed download for the status line; the message goes on as before.
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
    void OnFinalMessage(HWND hWnd) override;

    void PosChanged(const std::wstring& strTime, int nSeconds) override;
    void EndReached() override;
    // Every state change shows the playing buttons and puts the slider back to 0 until
    // the next position tick; pause, stop and end set their buttons afterwards.
    void UpdateUI() override;
    // Also ends the opening: a failed open shows its line from now on.
    void UpdateVideoDuration() override;
    // Only a visible bar is kept out of the area here.
    void UpdateRendArea(int x, int y, int cx, int cy) override;

    QelVideoUI* m_pVideoArea;
    UiLib::CControlUI* m_pPlayCtrl;
    UiLib::CControlUI* m_pTimeLabel;
    UiLib::QelSliderUI* m_pPlaySlider;
    UiLib::CSliderUI* m_pVolumeSlider;
    UiLib::CControlUI* m_pBtnPlay;
    UiLib::CControlUI* m_pBtnPause;
    UiLib::CControlUI* m_pBtnBackward;
    UiLib::CControlUI* m_pBtnForward;
    UiLib::CControlUI* m_pBtnMute;
    UiLib::CControlUI* m_pBtnMuted;
    UiLib::CControlUI* m_pBtnFull;
    UiLib::CControlUI* m_pBtnExitFull;
    // The open dot pop-up, destroyed exactly once whichever way it goes (its own close
    // button, kill focus, or this window going away).
    QelVideoDotPopupHolder m_DotPopup;

private:
    void ShowStatus();

    bool m_bOpening = false;
    QelVideoStatus m_eFailure = QelVideoStatus::None;
};
