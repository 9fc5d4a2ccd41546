#include "ui/audio/QelAudioPlayerPPTWindow.h"

#include <cwchar>

#include "ui/audio/QelAudioControlBar.h"

namespace {

constexpr const wchar_t* kZeroTimeText = L"00:00:00 / 00:00:00";

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
        QelAudioControlBar::SetVolumeThroughSlider(*this, m_pVolumeSlider, 0);
        QelAudioControlBar::ShowMutePair(m_pBtnMute, m_pBtnMuted, true);
    } else if (_wcsicmp(strName.GetData(), L"btn_audio_muted") == 0) {
        QelAudioControlBar::SetVolumeThroughSlider(*this, m_pVolumeSlider, m_nVolumeBeforeMute);
        QelAudioControlBar::ShowMutePair(m_pBtnMute, m_pBtnMuted, false);
    }
}

void QelAudioPlayerPPTWindow::OnOtherEvent(UiLib::TNotifyUI& msg) {
    QelAudioControlBar::OnSliderChanged(*this, msg, m_pBtnMute, m_pBtnMuted);
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
