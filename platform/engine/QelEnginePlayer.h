// One opened video of the engine: a libvlc media player rendering into the render window
// and reporting its end to it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "vlc/QelVlc.h"
#include "winapi/QelWinApi.h"

class QelEnginePlayer {
public:
    // Null when libvlc is unavailable or the media cannot be opened. Blocks, bounded,
    // until the video's format is known, so that size and duration can be asked at once.
    static std::unique_ptr<QelEnginePlayer> Open(const std::string& strPath, HWND hRenderWnd);
    ~QelEnginePlayer();
    QelEnginePlayer(const QelEnginePlayer&) = delete;
    QelEnginePlayer& operator=(const QelEnginePlayer&) = delete;

    void Play();
    void Pause();
    void Seek(std::int64_t llPositionMs);
    void SetRect(std::int32_t nArea, std::int32_t nLeft, std::int32_t nTop, std::int32_t nWidth, std::int32_t nHeight);
    void SetVolume(std::int32_t nEngineVolume);
    void SetSpeed(std::int32_t nPercent);
    void SetRenderType(std::int32_t nType);

    std::int64_t Position() const;
    std::int64_t Duration() const;
    std::int32_t State() const;
    std::int32_t Width() const { return m_nWidth; }
    std::int32_t Height() const { return m_nHeight; }

    // libvlc's volume (0 silent, 100 normal, up to 200) for the engine's scale, on which
    // -182 is silence and 0 normal loudness.
    static int VlcVolume(std::int32_t nEngineVolume);

private:
    QelEnginePlayer(const QelVlcApi* pVlc, libvlc_instance_t* pInstance, libvlc_media_player_t* pPlayer,
                    const std::string& strPath, HWND hRenderWnd);
    static void OnVlcEvent(const libvlc_event_t* pEvent, void* pSelf);
    bool WaitForFormat();
    void ApplyRenderType();

    const QelVlcApi* m_pVlc;
    libvlc_instance_t* m_pInstance;
    libvlc_media_player_t* m_pPlayer;
    std::string m_strPath;
    HWND m_hRenderWnd;

    std::mutex m_mutex;
    std::condition_variable m_formatKnown;
    bool m_bFormatKnown = false;
    bool m_bFailed = false;
    std::atomic<bool> m_bPlayRequested{false};
    std::atomic<bool> m_bEnded{false};
    std::atomic<bool> m_bEndPosted{false};

    std::int32_t m_nWidth = 0;
    std::int32_t m_nHeight = 0;
    std::int32_t m_nRenderType = 0;
    std::int32_t m_nRectWidth = 0;
    std::int32_t m_nRectHeight = 0;
};
