#include "ui/audio/QelAudioPlayerPPTWindow.h"

#include <cwchar>

namespace {

constexpr const wchar_t* kZeroTimeText = L"00:00:00 / 00:00:00";

void ShowControl(UiLib::CControlUI* pControl, bool bVisible) {
    if (pControl != nullptr) pControl->SetVisible(bVisible);
}

// The value of a slider (or any progress bar) that sent a notification; null otherwise.
UiLib::CProgressUI* AsProgress(UiLib::CControlUI* pControl) {
    return pControl != nullptr ? static_cast<UiLib::CProgressUI*>(pControl->GetInterface(L"Progress")) : nullptr;
}

}  // namespace

QelAudioPlayerPPTWindow::QelAudioPlayerPPTWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager)
    : QelAudioPlayerWindow(skinFile, pPaintManager),
      m_pBtnPlay(nullptr),
      m_pBtnPause(nullptr),
      m_pBtnVolume(nullptr),
      m_pPlaySlider(nullptr),
      m_pBtnMute(nullptr),
      m_pBtnMuted(nullptr),
      m_pVolumeSlider(nullptr),
      m_pTimeLabel(nullptr) {}

QelAudioPlayerPPTWindow::~QelAudioPlayerPPTWindow() = default;

const wchar_t* QelAudioPlayerPPTWindow::GetWindowClassName() const { return L"QelAudioPlayerPPTWindow"; }

void QelAudioPlayerPPTWindow::InitWindow() {
    m_pPlaySlider = static_cast<UiLib::CSliderUI*>(m_PaintManager.FindControl(L"audio_play_slider"));
    m_pBtnPlay = m_PaintManager.FindControl(L"btn_audio_play");
    m_pBtnPause = m_PaintManager.FindControl(L"btn_audio_pause");
    m_pBtnVolume = m_PaintManager.FindControl(L"btn_audio_volume");
    m_pBtnMute = m_PaintManager.FindControl(L"btn_audio_mute");
    m_pBtnMuted = m_PaintManager.FindControl(L"btn_audio_muted");
    m_pTimeLabel = m_PaintManager.FindControl(L"audio_time");
    m_pVolumeSlider = static_cast<UiLib::CSliderUI*>(m_PaintManager.FindControl(L"audio_volume_slider"));
    // The window starts playing its path: it shows the pause button from the start.
    if (m_pBtnPlay != nullptr && m_pBtnPause != nullptr) {
        m_pBtnPlay->SetVisible(false);
        m_pBtnPause->SetVisible(true);
    }
    QelAudioPlayerWindow::InitWindow();
}

void QelAudioPlayerPPTWindow::OnClickEvent(UiLib::TNotifyUI& msg) {
    if (msg.pSender == nullptr) return;
    const UiLib::CDuiString strName = msg.pSender->GetName();
    // Play and pause are matched exactly, the mute pair in any case; skins rely on both.
    if (strName == L"btn_audio_play") {
        Resume();
        if (m_pBtnPlay != nullptr && m_pBtnPause != nullptr) {
            m_pBtnPlay->SetVisible(false);
            m_pBtnPause->SetVisible(true);
        }
    } else if (strName == L"btn_audio_pause") {
        Pause();
        if (m_pBtnPlay != nullptr && m_pBtnPause != nullptr) {
            m_pBtnPlay->SetVisible(true);
            m_pBtnPause->SetVisible(false);
        }
    } else if (_wcsicmp(strName.GetData(), L"btn_audio_mute") == 0) {
        m_nVolumeBeforeMute = GetVolume();
        ApplyVolumeFromSlider(0);
        ShowControl(m_pBtnMute, false);
        ShowControl(m_pBtnMuted, true);
    } else if (_wcsicmp(strName.GetData(), L"btn_audio_muted") == 0) {
        ApplyVolumeFromSlider(m_nVolumeBeforeMute);
        ShowControl(m_pBtnMute, true);
        ShowControl(m_pBtnMuted, false);
    }
}

void QelAudioPlayerPPTWindow::ApplyVolumeFromSlider(int nVolume) {
    // Through the slider, so that its range limits what is restored.
    if (m_pVolumeSlider == nullptr) {
        SetVolume(nVolume);
        return;
    }
    m_pVolumeSlider->SetValue(nVolume);
    SetVolume(m_pVolumeSlider->GetValue());
}

void QelAudioPlayerPPTWindow::OnOtherEvent(UiLib::TNotifyUI& msg) {
    if (msg.sType != DUI_MSGTYPE_VALUECHANGED && msg.sType != DUI_MSGTYPE_MOVEVALUECHANGED) return;
    UiLib::CProgressUI* pSlider = AsProgress(msg.pSender);
    if (pSlider == nullptr) return;
    const UiLib::CDuiString strName = pSlider->GetName();
    if (strName == L"audio_volume_slider") {
        const int nVolume = pSlider->GetValue();
        SetVolume(nVolume);
        ShowControl(m_pBtnMute, nVolume > 0);
        ShowControl(m_pBtnMuted, nVolume <= 0);
    } else if (strName == L"audio_play_slider") {
        // One higher here and once more in Seek: the far end of the slider asks past the
        // end of the media, which the player ignores.
        Seek(static_cast<int>(static_cast<unsigned int>(pSlider->GetValue()) + 1u));
    }
}

void QelAudioPlayerPPTWindow::Playing() {}

void QelAudioPlayerPPTWindow::PosChanged(const std::wstring& strTime, int nPos) {
    if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(strTime.c_str());
    if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(nPos);
}

void QelAudioPlayerPPTWindow::EndReached() {
    if (m_pBtnPlay != nullptr && m_pBtnPause != nullptr) {
        m_pBtnPlay->SetVisible(true);
        m_pBtnPause->SetVisible(false);
    }
    if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(kZeroTimeText);
    if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(0);
    Stop();
}
