// The audio player on libvlc. One window owns it by value, names itself as the notify
// window (SetHWnd), installs the three event hooks and then calls Play.
//
// libvlc reports Playing, PositionChanged and EndReached on its own thread; the player
// hands each to the hook installed for it, on that thread. Everything else is called on
// the window's UI thread. Where libvlc is not available (no libvlc.dll on Windows), Play
// fails and the player stays empty.
#pragma once

#include <atomic>

#include "audio/QelAudioPlayerManager.h"
#include "winapi/QelWinApi.h"

struct libvlc_instance_t;
struct libvlc_media_player_t;
struct libvlc_event_t;

// Called on libvlc's thread with the player that reported the event.
typedef void (*QelAudioEventCallback)(QelAudioPlayerManager* pPlayer);

class QelAudioPlayerManagerVlc : public QelAudioPlayerManager {
public:
    explicit QelAudioPlayerManagerVlc(QelAudioPlayerWindow* pOwner);

    // A network location ("http", "https", "ftp" or "rstp" prefix, byte for byte) is
    // opened as such, anything else as a file path. The previous media is stopped first.
    // False for an empty url, when libvlc cannot make the instance, media or player, or
    // when memory runs out.
    bool Play(const std::wstring& url) override;
    // libvlc's pause, which toggles.
    void Pause() override;
    void Resume() override;
    void Stop() override;
    // Ignored outside 0..1000.
    void SetPosition(int nPos) override;
    // Five seconds ahead, at most to the length.
    void Forward() override;
    // Five seconds back, at least to 0.
    void Backward() override;
    // Negative volumes are ignored; there is no upper limit.
    void SetVolume(int nVolume) override;
    int GetVolume() override;
    bool IsPlaying() override;
    int GetPosition() override;
    long long GetLength() override;
    long long GetTime() override;
    // Fixed: the value is ignored and the option reads 1.
    void SetOption(int nValue) override;
    int GetOption() override;

    virtual ~QelAudioPlayerManagerVlc();
    virtual void SetHWnd(HWND hWnd);
    virtual HWND GetHWnd();

    // Each only stores the hook; null ignores the event.
    void SetPlayingCallback(QelAudioEventCallback pfn);
    void SetPosChangedCallback(QelAudioEventCallback pfn);
    void SetEndReachedCallback(QelAudioEventCallback pfn);

    // libvlc's event handler; data is the player. Public so that hosts and tests can feed
    // it events of their own.
    static void OnVlcEvent(const libvlc_event_t* event, void* data);

private:
    bool Open(const std::wstring& url);

protected:
    libvlc_instance_t* m_pInstance;
    libvlc_media_player_t* m_pPlayer;

    // Read on libvlc's thread while the UI thread may set them.
    std::atomic<HWND> m_hNotifyWnd;
    std::atomic<QelAudioEventCallback> m_pfnPlaying;
    std::atomic<QelAudioEventCallback> m_pfnPosChanged;
    std::atomic<QelAudioEventCallback> m_pfnEndReached;
};
