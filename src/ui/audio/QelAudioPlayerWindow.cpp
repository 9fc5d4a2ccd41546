#include "ui/audio/QelAudioPlayerWindow.h"

#include <sys/stat.h>
#include <sys/types.h>

#include <cwchar>
#include <ctime>

#include "audio/QelAudioNotify.h"
#include "video/QelMessages.h"

namespace {

constexpr int kInitialMuteVolume = 182;
constexpr size_t kTimeBufferChars = 260;
constexpr size_t kSizeBufferChars = 20;

// One clock reading of whole seconds, as a UTC time of day in the "C" locale's "%X".
std::wstring ClockText(long long llSeconds) {
    std::tm tmTime = {};
    const __time64_t tSeconds = llSeconds;
    // Before 1970 there is no UTC time to show: such a reading counts as 00:00:00 rather
    // than handing wcsftime fields it rejects.
    if (_gmtime64_s(&tmTime, &tSeconds) != 0) tmTime = std::tm{};
    wchar_t szText[kTimeBufferChars] = {};
    std::wcsftime(szText, kTimeBufferChars, L"%X", &tmTime);
    return szText;
}

}  // namespace

QelAudioPlayerWindow::QelAudioPlayerWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager)
    : QelMediaBaseWindow(skinFile, true),
      m_player(this),
      m_nVolumeBeforeMute(kInitialMuteVolume),
      m_bPlaying(false),
      m_bEnded(false) {
    if (pPaintManager != nullptr) m_PaintManager = *pPaintManager;
}

// The player stops and lets libvlc go with the member itself.
QelAudioPlayerWindow::~QelAudioPlayerWindow() = default;

const wchar_t* QelAudioPlayerWindow::GetWindowClassName() const { return L"QelAudioPlayerWindow"; }

UiLib::CPaintManagerUI* QelAudioPlayerWindow::GetMainWndPaintManager() { return &m_PaintManager; }

void QelAudioPlayerWindow::InitWindow() {
    m_player.SetHWnd(m_hWnd);
    m_player.SetPlayingCallback(QelAudioNotifyPlaying);
    m_player.SetPosChangedCallback(QelAudioNotifyPosChanged);
    m_player.SetEndReachedCallback(QelAudioNotifyEndReached);
    m_player.Play(m_strMediaPath);
}

LRESULT QelAudioPlayerWindow::HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) {
    switch (uMsg) {
    case QEL_AUDIO_PLAYING: return OnPlaying(m_hWnd, wParam, lParam);
    case QEL_AUDIO_POS_CHANGED: return OnPosChanged(m_hWnd, wParam, lParam);
    case QEL_AUDIO_END_REACHED: return OnEndReached(m_hWnd, wParam, lParam);
    case WM_KEYDOWN: {
        BOOL bHandled = FALSE;
        const LRESULT lRes = OnKeyDown(uMsg, wParam, lParam, bHandled);
        if (bHandled) return lRes;
        // The base dispatches the key to OnKeyDown again, which declines again, so the
        // key reaches the focused control; Enter and Escape are not swallowed here.
        break;
    }
    default: break;
    }
    return QelMediaBaseWindow::HandleMessage(uMsg, wParam, lParam);
}

LRESULT QelAudioPlayerWindow::OnKeyDown(UINT, WPARAM wParam, LPARAM, BOOL& bHandled) {
    bHandled = FALSE;
    if (wParam != VK_SPACE) return 0;
    if (m_bPlaying) {
        m_player.Pause();
        m_bPlaying = false;
    } else {
        if (m_bEnded)
            Play(m_strMediaPath);
        else
            m_player.Resume();
        m_bPlaying = true;
    }
    UpdateUI();
    bHandled = TRUE;
    return 0;
}

void QelAudioPlayerWindow::Play(const std::wstring& path) {
    QelMediaBaseWindow::Play(path);
    m_player.Play(m_strMediaPath);
    m_bPlaying = true;
    m_bEnded = false;
    UpdateUI();
}

void QelAudioPlayerWindow::Pause() {
    m_player.Pause();
    m_bPlaying = false;
    UpdateUI();
}

void QelAudioPlayerWindow::Resume() {
    if (m_bEnded)
        Play(m_strMediaPath);
    else
        m_player.Resume();
    m_bPlaying = true;
    UpdateUI();
}

void QelAudioPlayerWindow::Stop() {
    m_player.Stop();
    m_bPlaying = false;
    m_bEnded = true;
}

void QelAudioPlayerWindow::Seek(int nPos) {
    // One higher, wrapping rather than overflowing at the top of the range.
    m_player.SetPosition(static_cast<int>(static_cast<unsigned int>(nPos) + 1u));
}

void QelAudioPlayerWindow::SetVolume(int nVolume) {
    if (nVolume >= 0) m_player.SetVolume(nVolume);
}

int QelAudioPlayerWindow::GetVolume() { return m_player.GetVolume(); }

bool QelAudioPlayerWindow::IsPlaying() { return m_bPlaying; }

LRESULT QelAudioPlayerWindow::OnPlaying(HWND, WPARAM, LPARAM) {
    Playing();
    return 1;
}

LRESULT QelAudioPlayerWindow::OnPosChanged(HWND, WPARAM, LPARAM) {
    PosChanged(FormatTimeText(m_player.GetTime(), m_player.GetLength()), m_player.GetPosition());
    return 1;
}

LRESULT QelAudioPlayerWindow::OnEndReached(HWND, WPARAM, LPARAM) {
    Stop();
    EndReached();
    m_bEnded = true;
    return 1;
}

std::wstring QelAudioPlayerWindow::FormatTimeText(long long llTimeMs, long long llLengthMs) {
    return ClockText(llTimeMs / 1000) + L" / " + ClockText(llLengthMs / 1000);
}

std::wstring QelAudioPlayerWindow::FileSizeToString(unsigned int nBytes) {
    constexpr float kPerKilo = 0.0009765625f;
    float fSize = static_cast<float>(nBytes);
    fSize *= kPerKilo;
    fSize *= kPerKilo;
    wchar_t szText[kSizeBufferChars] = {};
    std::swprintf(szText, kSizeBufferChars, L"%.2f M", static_cast<double>(fSize));
    return szText;
}

long long QelAudioPlayerWindow::GetFileSize(const std::wstring& path) {
    struct _stat64 st = {};
    if (_wstat64(path.c_str(), &st) != 0) return 0;
    return st.st_size;
}

void QelAudioPlayerWindow::Playing() {
    m_bEnded = false;
    UpdateUI();
}

void QelAudioPlayerWindow::PosChanged(const std::wstring&, int) {}

void QelAudioPlayerWindow::EndReached() {}

void QelAudioPlayerWindow::UpdateUI() {}
