// One opened video of the engine: a libvlc media player drawing into the video area of the
// render window and reporting its end to the render window itself. The source is a file or
// stream path, or the cached TS segments of an HLS video played back to back while the
// cache fills.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "QelSegmentSource.h"
#include "QelTsVideoSize.h"
#include "QelVideoAreaWindow.h"
#include "segment_cache/QelTSItem.h"
#include "vlc/QelVlc.h"
#include "winapi/QelWinApi.h"

class QelEnginePlayer {
public:
    // Null when libvlc is unavailable or the media cannot be opened. Blocks, bounded,
    // until the start is decoded and held (for a transport stream, up to its first picture),
    // so that size and duration can be asked at once and Play starts without delay.
    static std::unique_ptr<QelEnginePlayer> Open(const std::string& strPath, HWND hRenderWnd);
    // The same for an HLS video: its segments, in playlist order, from their cache files.
    // Null when no segment can ever be played.
    static std::unique_ptr<QelEnginePlayer> OpenSegments(const std::vector<QelTSItem>& vecSegments, HWND hRenderWnd);
    ~QelEnginePlayer();
    QelEnginePlayer(const QelEnginePlayer&) = delete;
    QelEnginePlayer& operator=(const QelEnginePlayer&) = delete;

    void Play();
    void Pause();
    void Seek(std::int64_t llPositionMs);
    // Areas 0 and 1 are the same video area, in the render window's client coordinates:
    // the picture is placed there (before the first call, the whole render window). Other
    // area numbers are ignored.
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
    QelEnginePlayer(const QelVlcApi* pVlc, libvlc_instance_t* pInstance, std::string strPath,
                    std::unique_ptr<QelSegmentSource> pSource, HWND hRenderWnd);
    static std::unique_ptr<QelEnginePlayer> Start(std::unique_ptr<QelEnginePlayer> self);
    libvlc_media_t* NewMedia(bool bHold) const;
    static void OnVlcEvent(const libvlc_event_t* pEvent, void* pSelf);
    bool WaitForFormat();
    bool FormatWaitIsOver();
    void ApplyRenderType();
    // Segments only: plays again from a segment, held on its first picture or not.
    void RestartAt(std::size_t nPos, bool bHold);
    bool IsStarving() const;
    // The engine's messages for the host (seek needs, the end), from any thread.
    void PostToRenderWindow(UINT nMsg, WPARAM wParam, LPARAM lParam) const;

    const QelVlcApi* m_pVlc;
    libvlc_instance_t* m_pInstance;
    libvlc_media_player_t* m_pPlayer = nullptr;
    std::string m_strPath;
    std::unique_ptr<QelSegmentSource> m_pSource;
    HWND m_hRenderWnd;
    // The child window the picture is drawn into; null where there is none.
    std::unique_ptr<QelVideoAreaWindow> m_pArea;

    // What Open waits for, raised by libvlc's event thread.
    std::mutex m_mutex;
    std::condition_variable m_formatKnown;
    std::atomic<bool> m_bVout{false};
    std::atomic<bool> m_bHeld{false};
    std::atomic<bool> m_bBuffered{false};
    std::atomic<std::int64_t> m_llHeldAt{0};
    std::atomic<bool> m_bFailed{false};
    std::atomic<bool> m_bPlayRequested{false};
    std::atomic<bool> m_bPauseRequested{false};
    std::atomic<bool> m_bEnded{false};
    std::atomic<bool> m_bEndPosted{false};
    // Set while a run is stopped on purpose: its end is not the video's end.
    std::atomic<bool> m_bRestarting{false};

    // Segments only: the time line of the current run and how it moves.
    std::atomic<std::int64_t> m_llRunStartMs{0};
    mutable std::atomic<std::int64_t> m_llPositionFloor{0};
    std::atomic<std::int64_t> m_llLastTimeChange{0};  // steady clock, ms

    // The size a TS source states in its bitstream, known before libvlc decodes anything.
    QelVideoSize m_statedSize;
    std::int32_t m_nWidth = 0;
    std::int32_t m_nHeight = 0;
    std::int32_t m_nRenderType = 0;
    std::int32_t m_nRectWidth = 0;
    std::int32_t m_nRectHeight = 0;
};
