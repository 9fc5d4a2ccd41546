// The exported audio player window: a frameless skinned window that owns one libvlc audio
// player, receives the player's three events as posted window messages, keeps a small
// playing/ended state and offers play, pause, resume, stop, seek and volume to its host.
// It shows nothing itself: subclasses react through Playing, PosChanged, EndReached and
// UpdateUI. The space key toggles playback.
#pragma once

#include <string>

#include "QelExport.h"
#include "audio/QelAudioPlayerManagerVlc.h"
#include "ui/QelMediaBaseWindow.h"

class QEL_API QelAudioPlayerWindow : public UiLib::QelMediaBaseWindow {
public:
    // pPaintManager, when given, is copied into this window's own paint manager.
    QelAudioPlayerWindow(const wchar_t* skinFile, UiLib::CPaintManagerUI* pPaintManager);
    ~QelAudioPlayerWindow() override;

    // Connects the player to this window and opens the stored path again from its start,
    // now with the events in place (an empty path only readies libvlc).
    void InitWindow() override;
    // Space toggles playback; every other key goes on to the focused control.
    LRESULT OnKeyDown(UINT uMsg, WPARAM wParam, LPARAM lParam, BOOL& bHandled) override;
    // The window counts as playing afterwards even when the player could not open path.
    void Play(const std::wstring& path) override;
    void Pause();
    // After a stop or the end, opens the stored path again from its start.
    void Resume();
    // Leaves the controls as they are: no UpdateUI.
    void Stop() override;
    // Position in thousandths, handed on one higher: 999 and above ask past the end and
    // are ignored by the player, -1 seeks to the start.
    void Seek(int nPos);
    // libvlc's volume; negative values are ignored.
    void SetVolume(int nVolume);
    int GetVolume();
    // What the window believes, not what libvlc reports.
    bool IsPlaying();
    UiLib::CPaintManagerUI* GetMainWndPaintManager();

    // "HH:MM:SS / HH:MM:SS" of an elapsed time and a length in milliseconds, each taken
    // in whole seconds as a UTC time of day (so 25 hours read 01:00:00).
    static std::wstring FormatTimeText(long long llTimeMs, long long llLengthMs);

protected:
    const wchar_t* GetWindowClassName() const override;
    LRESULT HandleMessage(UINT uMsg, WPARAM wParam, LPARAM lParam) override;

    // Hooks for the window that shows the player. Playing clears the ended state and
    // refreshes; the others do nothing here.
    virtual void Playing();
    virtual void PosChanged(const std::wstring& strTime, int nPos);
    virtual void EndReached();
    virtual void UpdateUI();

    LRESULT OnPlaying(HWND hWnd, WPARAM wParam, LPARAM lParam);
    // Time text and position (thousandths) from the player, to PosChanged.
    LRESULT OnPosChanged(HWND hWnd, WPARAM wParam, LPARAM lParam);
    LRESULT OnEndReached(HWND hWnd, WPARAM wParam, LPARAM lParam);

    // "1.50 M": megabytes with two decimals, computed in single precision.
    std::wstring FileSizeToString(unsigned int nBytes);
    // Bytes, or 0 when the path cannot be examined.
    long long GetFileSize(const std::wstring& path);

    QelAudioPlayerManagerVlc m_player;
    int m_nVolumeBeforeMute;
    bool m_bPlaying;
    bool m_bEnded;
};
