#include "ui/QelVideoPlayerPPTWindow.h"

#include "ui/QelSliderUI.h"
#include "ui/QelVideoWindow.h"
#include "video/QelMessages.h"

namespace {

constexpr const wchar_t* kZeroTimeText = L"00:00:00 / 00:00:00";

bool NameIs(const UiLib::CControlUI* pControl, const wchar_t* szName) {
    return pControl != nullptr && pControl->GetName().CompareNoCase(szName) == 0;
}

void ShowControl(UiLib::CControlUI* pControl, bool bVisible) {
    if (pControl != nullptr) pControl->SetVisible(bVisible);
}

}  // namespace

QelVideoPlayerPPTWindow::QelVideoPlayerPPTWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager)
    : QelVideoPlayerWindow(skinFile, pPaintManager),
      m_pVideoArea(nullptr),
      m_pPlayCtrl(nullptr),
      m_pTimeLabel(nullptr),
      m_pPlaySlider(nullptr),
      m_pVolumeSlider(nullptr),
      m_pBtnPlay(nullptr),
      m_pBtnPause(nullptr),
      m_pBtnBackward(nullptr),
      m_pBtnForward(nullptr),
      m_pBtnMute(nullptr),
      m_pBtnMuted(nullptr),
      m_pBtnFull(nullptr),
      m_pBtnExitFull(nullptr) {}

QelVideoPlayerPPTWindow::~QelVideoPlayerPPTWindow() = default;

const wchar_t* QelVideoPlayerPPTWindow::GetWindowClassName() const { return L"QelVideoPlayerPPTWindow"; }

void QelVideoPlayerPPTWindow::OnFinalMessage(HWND hWnd) { QelVideoPlayerWindow::OnFinalMessage(hWnd); }

UiLib::CControlUI* QelVideoPlayerPPTWindow::CreateControl(const wchar_t* pstrClass) {
    if (pstrClass == nullptr) return nullptr;
    const UiLib::CDuiString strClass(pstrClass);
    if (strClass.CompareNoCase(L"QelSlider") == 0) return new UiLib::QelSliderUI();
    if (strClass.CompareNoCase(L"QelVideoUI") == 0) return new QelVideoUI(m_hWnd);
    return nullptr;
}

void QelVideoPlayerPPTWindow::Init() {
    m_pVideoArea = static_cast<QelVideoUI*>(m_PaintManager.FindControl(L"video_area"));
    m_pPlayCtrl = m_PaintManager.FindControl(L"video_play_ctrl");
    m_pTimeLabel = m_PaintManager.FindControl(L"video_time");
    m_pPlaySlider = static_cast<UiLib::QelSliderUI*>(m_PaintManager.FindControl(L"video_play_slider"));
    m_pVolumeSlider = static_cast<UiLib::CSliderUI*>(m_PaintManager.FindControl(L"video_volume_slider"));
    m_pBtnPlay = m_PaintManager.FindControl(L"btn_video_play");
    m_pBtnPause = m_PaintManager.FindControl(L"btn_video_pause");
    m_pBtnBackward = m_PaintManager.FindControl(L"btn_video_backward");
    m_pBtnForward = m_PaintManager.FindControl(L"btn_video_forward");
    m_pBtnMute = m_PaintManager.FindControl(L"btn_video_mute");
    m_pBtnMuted = m_PaintManager.FindControl(L"btn_video_muted");
    m_pBtnFull = m_PaintManager.FindControl(L"btn_video_full");
    m_pBtnExitFull = m_PaintManager.FindControl(L"btn_video_exit_full");

    // A skin without a surface leaves the manager without a render window: no picture,
    // but no crash either.
    if (m_pVideoArea == nullptr || m_pVideoArea->GetVideoWindow() == nullptr) return;
    SetRenderWindow(m_hWnd, m_pVideoArea->GetVideoWindow()->GetHWND());
    // The surface forwards a double click on the picture to this window only once it
    // knows the manager.
    m_pVideoArea->SetVideoPlayer(&m_VideoPlayer);
}

void QelVideoPlayerPPTWindow::InitWindow() { QelVideoPlayerWindow::InitWindow(); }

LRESULT QelVideoPlayerPPTWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    if (uMsg == QEL_VIDEO_DOWNLOAD_FAILED) {
        m_eFailure = QelVideoStatus::DownloadFailed;
        ShowStatus();
    }
    return QelVideoPlayerWindow::HandleMessage(uMsg, wParam, lParam);
}

void QelVideoPlayerPPTWindow::Play(const std::wstring& path) {
    if (!path.empty() && !IsPlaying()) {
        m_bOpening = true;
        m_eFailure = QelVideoStatus::None;
    }
    QelVideoPlayerWindow::Play(path);
}

void QelVideoPlayerPPTWindow::ShowStatus() {
    if (m_pVideoArea == nullptr) return;
    // A stopped player says nothing; a failure stays until the next play or stop.
    QelVideoStatus status = m_eFailure;
    if (m_bStopped)
        status = QelVideoStatus::None;
    else if (status == QelVideoStatus::None && (m_bOpening || IsCaching()))
        status = QelVideoStatus::Loading;
    m_pVideoArea->SetStatus(status);
}

void QelVideoPlayerPPTWindow::OnClickEvent(UiLib::TNotifyUI& msg) {
    const UiLib::CControlUI* pSender = msg.pSender;
    if (NameIs(pSender, L"btn_video_pause")) {
        Pause();
        ShowControl(m_pBtnPlay, true);
        ShowControl(m_pBtnPause, false);
    } else if (NameIs(pSender, L"btn_video_play")) {
        // After a pause the manager no longer reports playing: this reopens the path.
        Play(m_strMediaPath);
    } else if (NameIs(pSender, L"btn_video_stop")) {
        Stop();
        ShowControl(m_pBtnPlay, true);
        ShowControl(m_pBtnPause, false);
        if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(0);
        if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(kZeroTimeText);
    } else if (NameIs(pSender, L"btn_video_forward")) {
        Forward();
    } else if (NameIs(pSender, L"btn_video_backward")) {
        Backward();
    } else if (NameIs(pSender, L"btn_video_mute")) {
        // Through the slider and the window's scale, so that unmuting restores exactly.
        m_nMuteVolume = GetAudioVolume();
        m_pVolumeSlider->SetValue(0);
        SetAudioVolume(m_pVolumeSlider->GetValue());
        ShowControl(m_pBtnMute, false);
        ShowControl(m_pBtnMuted, true);
    } else if (NameIs(pSender, L"btn_video_muted")) {
        m_pVolumeSlider->SetValue(m_nMuteVolume);
        SetAudioVolume(m_pVolumeSlider->GetValue());
        ShowControl(m_pBtnMute, true);
        ShowControl(m_pBtnMuted, false);
    } else if (NameIs(pSender, L"btn_video_full")) {
        SetFullScreenFromButton(true);
    } else if (NameIs(pSender, L"btn_video_exit_full")) {
        SetFullScreenFromButton(false);
    }
}

void QelVideoPlayerPPTWindow::OnOtherEvent(UiLib::TNotifyUI& msg) {
    if (msg.sType == DUI_MSGTYPE_VALUECHANGED || msg.sType == DUI_MSGTYPE_MOVEVALUECHANGED) {
        if (msg.pSender != nullptr && msg.pSender == m_pPlaySlider)
            Seek(m_pPlaySlider->GetValue());
        else if (msg.pSender != nullptr && msg.pSender == m_pVolumeSlider)
            SetAudioVolume(m_pVolumeSlider->GetValue());
    } else if (msg.sType == L"videodothot") {
        if (!NameIs(msg.pSender, L"video_play_slider")) return;
        // The dot index is not used: the pop-up shows what its skin holds. It hangs from
        // this window's parent, so that it is not clipped to the player.
        POINT pt = {};
        ::GetCursorPos(&pt);
        m_DotPopup.Open(L"video/videothumb.xml", ::GetParent(m_hWnd), pt.x, pt.y, &m_rcDotPopup);
    } else if (msg.sType == L"videodotkillfocus") {
        if (!NameIs(msg.pSender, L"video_play_slider")) return;
        m_DotPopup.Close();
    }
}

void QelVideoPlayerPPTWindow::PosChanged(const std::wstring& strTime, int nSeconds) {
    if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(strTime.c_str());
    if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(nSeconds);
    ShowStatus();  // the tick reads the engine's caching state
}

void QelVideoPlayerPPTWindow::UpdateVideoDuration() {
    // The manager reports a failed open only by the engine handle it did not get.
    m_bOpening = false;
    if (!m_VideoPlayer.IsOpenFile() && m_eFailure == QelVideoStatus::None) m_eFailure = QelVideoStatus::OpenFailed;
    ShowStatus();
    if (m_pPlaySlider == nullptr) return;
    m_pPlaySlider->SetMaxValue(static_cast<int>(GetDuration() / 1000));
    m_pPlaySlider->SetValue(0);
    m_pPlaySlider->UpdateVideoDotsRect();
}

void QelVideoPlayerPPTWindow::UpdateUI() {
    RecalcRenderArea(false);
    if (m_pPlaySlider != nullptr) {
        m_pPlaySlider->SetMaxValue(static_cast<int>(GetDuration() / 1000));
        m_pPlaySlider->SetValue(0);
    }
    ShowControl(m_pBtnFull, !m_bFullscreen);
    ShowControl(m_pBtnExitFull, m_bFullscreen);
    ShowControl(m_pBtnPlay, false);
    ShowControl(m_pBtnPause, true);
    ShowStatus();
}

void QelVideoPlayerPPTWindow::EndReached() {
    m_eFailure = QelVideoStatus::None;
    ShowStatus();
    if (m_pTimeLabel != nullptr) m_pTimeLabel->SetText(kZeroTimeText);
    ShowControl(m_pBtnPlay, true);
    ShowControl(m_pBtnPause, false);
    if (m_pPlaySlider != nullptr) m_pPlaySlider->SetValue(0);
}

void QelVideoPlayerPPTWindow::UpdateRendArea(int x, int y, int cx, int cy) {
    const int nBarHeight = m_pPlayCtrl != nullptr && m_pPlayCtrl->IsVisible() ? m_pPlayCtrl->GetHeight() : 0;
    SetRendArea(RECT{x, y, x + cx, y + cy - nBarHeight});
}

void QelVideoPlayerPPTWindow::RecalcRenderArea(bool bFull) {
    RECT rcClient = {};
    ::GetClientRect(m_hWnd, &rcClient);
    const int nBarHeight = m_pPlayCtrl != nullptr ? m_pPlayCtrl->GetHeight() : 0;
    const int nWidth = bFull ? ::GetSystemMetrics(SM_CXSCREEN) : rcClient.right;
    SetRendArea(RECT{0, 0, nWidth, rcClient.bottom - nBarHeight});
    if (m_pPlaySlider != nullptr) m_pPlaySlider->UpdateVideoDotsRect();
}

void QelVideoPlayerPPTWindow::SetFullScreenFromButton(bool bFull) {
    ShowControl(m_pBtnFull, !m_bFullscreen);
    ShowControl(m_pBtnExitFull, m_bFullscreen);
    FullScreen(bFull);
    RecalcRenderArea(m_bFullscreen);
}
