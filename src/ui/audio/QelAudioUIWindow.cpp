#include "ui/audio/QelAudioUIWindow.h"

#include <cwchar>

#include "ui/audio/QelAudioControlBar.h"
#include "utils/QelFileUtils.h"

namespace UiLib {

namespace {

constexpr const wchar_t* kZeroTimeText = L"00:00:00 / 00:00:00";
constexpr int kInitialSavedVolume = 182;

}  // namespace

QelAudioUIWindow::QelAudioUIWindow(const wchar_t* skinFile, CPaintManagerUI* pPaintManager)
    : QelAudioPlayerWindow(skinFile, pPaintManager),
      m_pBkCtrl(nullptr),
      m_pBtnPlay(nullptr),
      m_pBtnPause(nullptr),
      m_pBtnVolume(nullptr),
      m_pBtnStop(nullptr),
      m_pPlaySlider(nullptr),
      m_pTimeLabel(nullptr),
      m_pBtnMute(nullptr),
      m_pBtnMuted(nullptr),
      m_pVolumeSlider(nullptr),
      m_nSavedVolume(kInitialSavedVolume),
      m_bReserved(false) {}

QelAudioUIWindow::~QelAudioUIWindow() = default;

const wchar_t* QelAudioUIWindow::GetWindowClassName() const { return L"QelAudioUIWindow"; }

void QelAudioUIWindow::OnFinalMessage(HWND hWnd) {
    QelAudioPlayerWindow::OnFinalMessage(hWnd);
    // May delete this object: nothing of it is touched afterwards.
    std::shared_ptr<QelAudioUIWindow> pKeep = std::move(m_pSelf);
}

void QelAudioUIWindow::InitWindow() {
    m_pBkCtrl = m_PaintManager.FindControl(L"bk");
    m_pPlaySlider = static_cast<CSliderUI*>(m_PaintManager.FindControl(L"audio_play_slider"));
    m_pBtnPlay = m_PaintManager.FindControl(L"btn_audio_play");
    m_pBtnPause = m_PaintManager.FindControl(L"btn_audio_pause");
    m_pBtnVolume = m_PaintManager.FindControl(L"btn_audio_volume");
    m_pBtnStop = m_PaintManager.FindControl(L"btn_audio_stop");
    m_pTimeLabel = m_PaintManager.FindControl(L"audio_time");
    m_pBtnMute = m_PaintManager.FindControl(L"btn_audio_mute");
    m_pBtnMuted = m_PaintManager.FindControl(L"btn_audio_muted");
    m_pVolumeSlider = static_cast<CSliderUI*>(m_PaintManager.FindControl(L"audio_volume_slider"));
    UpdateUI();
    QelAudioPlayerWindow::InitWindow();
}

void QelAudioUIWindow::UpdateUI() {
    const bool bPlaying = IsPlaying();
    QelAudioControlBar::ShowControl(m_pBtnPlay, !bPlaying);
    QelAudioControlBar::ShowControl(m_pBtnPause, bPlaying);
    if (m_pBkCtrl != nullptr && !m_strBkImage.empty() && QelFileUtils::IsFileExist(m_strBkImage))
        m_pBkCtrl->SetBkImage(m_strBkImage.c_str());
}

void QelAudioUIWindow::OnClickEvent(TNotifyUI& msg) {
    if (msg.pSender == nullptr) return;
    const CDuiString strName = msg.pSender->GetName();
    // Play, pause and stop are matched exactly, the mute pair in any case.
    if (strName == L"btn_audio_play") {
        Resume();
        UpdateUI();
    } else if (strName == L"btn_audio_pause") {
        Pause();
        UpdateUI();
    } else if (strName == L"btn_audio_stop") {
        Stop();
        UpdateUI();
    } else if (_wcsicmp(strName.GetData(), L"btn_audio_mute") == 0) {
        m_nSavedVolume = GetVolume();
        QelAudioControlBar::SetVolumeThroughSlider(*this, m_pVolumeSlider, 0);
        QelAudioControlBar::ShowMutePair(m_pBtnMute, m_pBtnMuted, true);
    } else if (_wcsicmp(strName.GetData(), L"btn_audio_muted") == 0) {
        QelAudioControlBar::SetVolumeThroughSlider(*this, m_pVolumeSlider, m_nSavedVolume);
        QelAudioControlBar::ShowMutePair(m_pBtnMute, m_pBtnMuted, false);
    }
}

void QelAudioUIWindow::OnOtherEvent(TNotifyUI& msg) {
    QelAudioControlBar::OnSliderChanged(*this, msg, m_pBtnMute, m_pBtnMuted);
}

void QelAudioUIWindow::Playing() { UpdateUI(); }

void QelAudioUIWindow::PosChanged(const std::wstring& strTime, int nPos) {
    if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(strTime.c_str());
    if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(nPos);
}

void QelAudioUIWindow::EndReached() {
    UpdateUI();
    if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(0);
    if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(kZeroTimeText);
}

}  // namespace UiLib
