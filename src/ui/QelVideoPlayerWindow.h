// The exported video player window: a frameless skinned window that owns one video player
// manager and turns the host's calls, the manager's window messages, a 100 ms position
// timer, the keyboard and double clicks into manager calls and into its own hooks. It
// shows nothing itself; the hooks (time text, slider, buttons, render area) are for
// subclasses. Used without a subclass it is a skin-less player that renders wherever
// SetRenderWindow points.
#pragma once

#include <string>
#include <vector>

#include "QelExport.h"
#include "ui/QelMediaBaseWindow.h"
#include "ui/QelSliderUI.h"
#include "video/QelVideoPlayerManager.h"

class QEL_API QelVideoPlayerWindow : public UiLib::QelMediaBaseWindow {
public:
    // pPaintManager, when given, is copied into this window's own paint manager.
    QelVideoPlayerWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager);
    ~QelVideoPlayerWindow() override;

    // An empty path does nothing at all. While playing, resumes instead of reopening.
    void Play(const std::wstring& path) override;
    void Pause();
    void Resume();
    // The hook runs before the manager stops; the position timer keeps running.
    void Stop() override;
    void Seek(int nSeconds);
    // 10 seconds back or on; the manager clamps at both ends.
    void Backward();
    void Forward();

    // The window's volume scale is the manager's plus 182: 0 is silence.
    void SetAudioVolume(int nVolume);
    int GetAudioVolume();
    // Unmuting hands the saved window-scale value to the manager unshifted, which leaves
    // the volume 182 above where it was; hosts that mind set the volume again.
    void Mute(bool bMute);

    long long GetDuration();
    int GetVideoWidth();
    int GetVideoHeight();
    bool IsPlaying();
    bool IsPaused();
    bool IsCaching();

    void SetRendArea(const RECT& rc);
    // Messages go to hNotify (normally this window), pictures to hRender.
    void SetRenderWindow(const HWND& hNotify, const HWND& hRender);
    // Kept as a copy only; the slider has its own SetVideoDots.
    void SetVideoDots(const std::vector<UiLib::_QelVideoDotsData>& vecDots);
    void SetVideoDownloadPath(const std::wstring& strPath);

    // Remembers the parent (full screen returns to it) and the screen size.
    void InitWindow() override;
    LRESULT OnSize(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled) override;
    // Timer 666 is the position tick.
    LRESULT OnTimer(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled) override;
    // Escape leaves full screen and is swallowed; every other key goes to the toolkit.
    LRESULT OnKeyDown(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled) override;

    // "hh:mm:ss / hh:mm:ss" of a position and a duration in milliseconds; hours wrap at 60.
    static std::wstring FormatTimeText(long long llPosition, long long llDuration);

    static constexpr UINT_PTR kPositionTimerId = 666;

protected:
    const wchar_t* GetWindowClassName() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
    void OnFinalMessage(HWND hWnd) override;

    // Hooks for the window that shows the player; each does nothing here.
    virtual void PosChanged(const std::wstring& strTime, int nSeconds);
    virtual void EndReached();
    virtual void UpdateUI();
    virtual void UpdateVideoDuration();
    virtual void UpdateRendArea(int x, int y, int cx, int cy);
    // Re-parents the window to the desktop, topmost over the whole screen, and back into
    // its parent's client area. The same state again does nothing.
    virtual void FullScreen(bool bFull);

    void OnPlayVideo();
    void OnStopVideo();
    // The end event stops the manager (not the window) and calls EndReached.
    void OnPlayerMessage(UINT wParam, LPARAM lParam);
    LRESULT OnSeekTS(UINT uMsg, WPARAM wParam, LPARAM lParam);
    LRESULT OnVideoWindowDBClick(UINT uMsg, WPARAM wParam, LPARAM lParam);

    HWND m_hParent;
    int m_nMuteVolume;
    QelVideoPlayerManager m_VideoPlayer;
    RECT m_rcDotPopup;
    std::vector<UiLib::_QelVideoDotsData> m_vecVideoDots;
    bool m_bStopped;
    SIZE m_szClient;
    SIZE m_szScreen;
    bool m_bEscExitFullscreen;
};
