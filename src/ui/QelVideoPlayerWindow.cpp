#include "ui/QelVideoPlayerWindow.h"

#include "log/QelLog.h"
#include "utils/QelOS.h"
#include "video/QelMessages.h"

namespace {

constexpr UINT kPositionTickMs = 100;
constexpr int kVolumeShift = 182;
constexpr long long kStepMs = 10000;

// At least two digits, as "%.2u" would print it.
std::wstring TwoDigits(unsigned long long n) {
    std::wstring str = std::to_wstring(n);
    if (str.size() < 2) str.insert(0, 2 - str.size(), L'0');
    return str;
}

// Hours wrap at 60 and a negative time reads as a huge unsigned number: the text has
// always looked like this and hosts compare it.
std::wstring ClockText(long long llMs) {
    const auto s = static_cast<unsigned long long>(llMs / 1000);
    return TwoDigits((s / 3600) % 60) + L":" + TwoDigits((s / 60) % 60) + L":" + TwoDigits(s % 60);
}

}  // namespace

QelVideoPlayerWindow::QelVideoPlayerWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager)
    : QelMediaBaseWindow(skinFile, true),
      m_hParent(nullptr),
      m_nMuteVolume(kVolumeShift),
      m_rcDotPopup{0, 0, 0, 0},
      m_bStopped(true),
      m_szClient{0, 0},
      m_szScreen{0, 0},
      m_bEscExitFullscreen(true) {
    if (pPaintManager != nullptr) m_PaintManager = *pPaintManager;
}

QelVideoPlayerWindow::~QelVideoPlayerWindow() = default;

const wchar_t* QelVideoPlayerWindow::GetWindowClassName() const { return L"QelVideoPlayerWindow"; }

void QelVideoPlayerWindow::OnFinalMessage(HWND hWnd) { QelMediaBaseWindow::OnFinalMessage(hWnd); }

void QelVideoPlayerWindow::InitWindow() {
    m_hParent = ::GetParent(m_hWnd);
    m_szScreen = QelOS::GetScreenSize();
}

LRESULT QelVideoPlayerWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    BOOL bHandled = TRUE;
    switch (uMsg) {
    case WM_SIZE:
        // The base dispatches WM_SIZE to OnSize again: it runs twice, then the toolkit.
        OnSize(uMsg, wParam, lParam, bHandled);
        break;
    case WM_TIMER: {
        const LRESULT lRes = OnTimer(uMsg, wParam, lParam, bHandled);
        if (bHandled) return lRes;
        break;
    }
    case QEL_VIDEO_PLAY_REQUEST: Play(m_strMediaPath); return 0;
    case QEL_VIDEO_STOP_REQUEST: Stop(); return 0;
    case QEL_VIDEO_SEEK_TS: return OnSeekTS(uMsg, wParam, lParam);
    case QEL_VIDEO_STARTED: UpdateVideoDuration(); return 0;
    case QEL_VIDEO_WINDOW_DBCLICK: return OnVideoWindowDBClick(uMsg, wParam, lParam);
    case QEL_VIDEO_PLAYER_EVENT: OnPlayerMessage(static_cast<UINT>(wParam), lParam); return 0;
    default: break;
    }
    return QelMediaBaseWindow::HandleMessage(uMsg, wParam, lParam);
}

void QelVideoPlayerWindow::Play(const std::wstring& path) {
    if (&path != &m_strMediaPath) m_strMediaPath = path;
    if (m_strMediaPath.empty()) return;
    ::KillTimer(m_hWnd, kPositionTimerId);
    ::SetTimer(m_hWnd, kPositionTimerId, kPositionTickMs, nullptr);
    if (m_VideoPlayer.IsPlaying()) {
        m_VideoPlayer.Resume();
        UpdateUI();
    } else if (m_VideoPlayer.Play(m_strMediaPath, std::map<std::wstring, std::wstring>(), 0)) {
        m_bStopped = false;
    }
    UpdateUI();
}

void QelVideoPlayerWindow::Pause() {
    m_VideoPlayer.Pause();
    UpdateUI();
}

void QelVideoPlayerWindow::Resume() {
    m_VideoPlayer.Resume();
    UpdateUI();
}

void QelVideoPlayerWindow::Stop() {
    m_bStopped = true;
    UpdateUI();
    m_VideoPlayer.Stop();
}

void QelVideoPlayerWindow::Seek(int nSeconds) {
    ::KillTimer(m_hWnd, kPositionTimerId);
    // A 32-bit product, as the seconds always were.
    m_VideoPlayer.Seek(static_cast<long long>(static_cast<int>(static_cast<unsigned>(nSeconds) * 1000u)));
    ::SetTimer(m_hWnd, kPositionTimerId, kPositionTickMs, nullptr);
}

void QelVideoPlayerWindow::Backward() { m_VideoPlayer.Seek(m_VideoPlayer.GetCurPosition() - kStepMs); }

void QelVideoPlayerWindow::Forward() { m_VideoPlayer.Seek(m_VideoPlayer.GetCurPosition() + kStepMs); }

void QelVideoPlayerWindow::SetAudioVolume(int nVolume) { m_VideoPlayer.SetAudioVolume(nVolume - kVolumeShift); }

int QelVideoPlayerWindow::GetAudioVolume() { return m_VideoPlayer.GetAudioVolume() + kVolumeShift; }

void QelVideoPlayerWindow::Mute(bool bMute) {
    if (bMute) {
        m_nMuteVolume = m_VideoPlayer.GetAudioVolume() + kVolumeShift;
        m_VideoPlayer.SetAudioVolume(-kVolumeShift);
    } else {
        m_VideoPlayer.SetAudioVolume(m_nMuteVolume);
    }
}

long long QelVideoPlayerWindow::GetDuration() { return m_VideoPlayer.GetVideoDuration(); }

int QelVideoPlayerWindow::GetVideoWidth() { return m_VideoPlayer.GetVideoWidth(); }

int QelVideoPlayerWindow::GetVideoHeight() { return m_VideoPlayer.GetVideoHeight(); }

bool QelVideoPlayerWindow::IsPlaying() { return m_VideoPlayer.IsPlaying(); }

bool QelVideoPlayerWindow::IsPaused() { return m_VideoPlayer.IsPaused(); }

bool QelVideoPlayerWindow::IsCaching() { return m_VideoPlayer.IsCaching(); }

void QelVideoPlayerWindow::SetRendArea(const RECT& rc) { m_VideoPlayer.SetRendArea(rc); }

void QelVideoPlayerWindow::SetRenderWindow(const HWND& hNotify, const HWND& hRender) {
    m_VideoPlayer.SetHWnd(hNotify, hRender);
}

void QelVideoPlayerWindow::SetVideoDots(const std::vector<UiLib::_QelVideoDotsData>& vecDots) {
    m_vecVideoDots = vecDots;
}

void QelVideoPlayerWindow::SetVideoDownloadPath(const std::wstring& strPath) {
    m_VideoPlayer.SetVideoDownloadPath(strPath);
}

std::wstring QelVideoPlayerWindow::FormatTimeText(long long llPosition, long long llDuration) {
    return ClockText(llPosition) + L" / " + ClockText(llDuration);
}

LRESULT QelVideoPlayerWindow::OnTimer(UINT, WPARAM wParam, LPARAM, BOOL& bHandled) {
    bHandled = FALSE;
    if (wParam == kPositionTimerId) {
        if (m_VideoPlayer.IsPlaying()) {
            const long long llPosition = m_VideoPlayer.GetCurPosition();
            const long long llDuration = m_VideoPlayer.GetVideoDuration();
            PosChanged(FormatTimeText(llPosition, llDuration), static_cast<int>(llPosition / 1000));
        }
        bHandled = TRUE;
    }
    return 0;
}

LRESULT QelVideoPlayerWindow::OnSize(UINT, WPARAM wParam, LPARAM lParam, BOOL& bHandled) {
    if (m_bFullscreen) {
        UpdateRendArea(0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN));
    } else if (wParam != SIZE_MINIMIZED) {
        UpdateRendArea(0, 0, static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
    }
    bHandled = FALSE;
    return 0;
}

LRESULT QelVideoPlayerWindow::OnKeyDown(UINT, WPARAM wParam, LPARAM, BOOL& bHandled) {
    if (wParam == VK_ESCAPE && m_bEscExitFullscreen) {
        FullScreen(false);
        bHandled = TRUE;
        return 0;
    }
    bHandled = FALSE;
    return 0;
}

void QelVideoPlayerWindow::OnPlayVideo() { Play(m_strMediaPath); }

void QelVideoPlayerWindow::OnStopVideo() { Stop(); }

void QelVideoPlayerWindow::OnPlayerMessage(UINT wParam, LPARAM) {
    if (wParam != QEL_VIDEO_EVENT_END) return;
    // The manager only: the window's Stop would run UpdateUI before EndReached.
    m_VideoPlayer.Stop();
    EndReached();
}

LRESULT QelVideoPlayerWindow::OnSeekTS(UINT, WPARAM wParam, LPARAM) {
    const int nIndex = static_cast<int>(wParam);
    QEL_LOG << "Received QEL_VIDEO_SEEK_TS message for ts index:" << nIndex;
    m_VideoPlayer.UpdateDownloadPriority(m_strMediaPath, nIndex);
    return 0;
}

LRESULT QelVideoPlayerWindow::OnVideoWindowDBClick(UINT, WPARAM, LPARAM) {
    if (m_VideoPlayer.IsPlaying())
        m_VideoPlayer.Pause();
    else
        m_VideoPlayer.Resume();
    UpdateUI();
    UpdateUI();
    return 0;
}

void QelVideoPlayerWindow::FullScreen(bool bFull) {
    if (bFull == m_bFullscreen) return;
    m_bFullscreen = bFull;
    constexpr LONG_PTR kLowBits = 0x3FFFFFFF;
    if (bFull) {
        RECT rcClient = {};
        ::GetClientRect(m_hWnd, &rcClient);
        m_szClient = SIZE{rcClient.right - rcClient.left, rcClient.bottom - rcClient.top};
        const LONG_PTR style = ::GetWindowLongPtrW(m_hWnd, GWL_STYLE);
        ::SetWindowLongPtrW(m_hWnd, GWL_STYLE, (style & kLowBits) | WS_POPUP);
        const LONG_PTR exStyle = ::GetWindowLongPtrW(m_hWnd, GWL_EXSTYLE);
        ::SetWindowLongPtrW(m_hWnd, GWL_EXSTYLE, (exStyle & ~static_cast<LONG_PTR>(WS_EX_APPWINDOW)) | WS_EX_TOOLWINDOW);
        ::SetParent(m_hWnd, nullptr);
        ::MoveWindow(m_hWnd, 0, 0, m_szScreen.cx, m_szScreen.cy, TRUE);
        ::SetWindowPos(m_hWnd, HWND_TOPMOST, 0, 0, m_szScreen.cx, m_szScreen.cy, SWP_SHOWWINDOW);
    } else {
        const LONG_PTR style = ::GetWindowLongPtrW(m_hWnd, GWL_STYLE);
        ::SetWindowLongPtrW(m_hWnd, GWL_STYLE, (style & kLowBits) | WS_CHILD);
        const LONG_PTR exStyle = ::GetWindowLongPtrW(m_hWnd, GWL_EXSTYLE);
        ::SetWindowLongPtrW(m_hWnd, GWL_EXSTYLE, exStyle & ~static_cast<LONG_PTR>(WS_EX_TOOLWINDOW));
        ::SetParent(m_hWnd, m_hParent);
        RECT rcParent = {};
        ::GetClientRect(m_hParent, &rcParent);
        m_szClient = SIZE{rcParent.right - rcParent.left, rcParent.bottom - rcParent.top};
        ::MoveWindow(m_hWnd, rcParent.left, rcParent.top, m_szClient.cx, m_szClient.cy, TRUE);
    }
    UpdateUI();
}

void QelVideoPlayerWindow::PosChanged(const std::wstring&, int) {}

void QelVideoPlayerWindow::EndReached() {}

void QelVideoPlayerWindow::UpdateUI() {}

void QelVideoPlayerWindow::UpdateVideoDuration() {}

void QelVideoPlayerWindow::UpdateRendArea(int, int, int, int) {}
