#include "QelEnginePlayer.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "QelTsVideoSize.h"
#include "utils/QelFile.h"
#include "utils/QelFileUtils.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "video/QelVideoEngine.h"

namespace {

// How long Open waits for the first video format before it answers without a size.
constexpr std::chrono::seconds kFormatWait{10};
constexpr std::chrono::milliseconds kFormatPoll{50};
// Held at the start this long without a picture: a video that has none to show.
constexpr std::chrono::milliseconds kPicturelessWait{2000};
// libvlc updates its time about four times a second while it plays.
constexpr std::chrono::milliseconds kStarvedAfter{1000};

// How much of a TS file is searched for the picture size: many times what an encoder
// puts before its first picture.
constexpr std::size_t kSizeProbeFirst = 64 << 10;
constexpr std::size_t kSizeProbeBytes = 1 << 20;

constexpr libvlc_event_type_t kEvents[] = {
    libvlc_MediaPlayerVout,        libvlc_MediaPlayerPaused,     libvlc_MediaPlayerPlaying,
    libvlc_MediaPlayerBuffering,   libvlc_MediaPlayerTimeChanged, libvlc_MediaPlayerEndReached,
    libvlc_MediaPlayerEncounteredError,
};
constexpr int kSilenceEngineVolume = -182;

// One libvlc instance for the process: creating one scans the plugins, and players are
// opened and closed often. Kept until the process ends, as libvlc's own threads may be.
libvlc_instance_t* SharedInstance(const QelVlcApi* pVlc) {
    static libvlc_instance_t* const pInstance = [pVlc] {
        const char* const args[] = {
            "--quiet",
            "--no-video-title-show",
#ifndef _WIN32
            // No picture unless a player is given an X11 window (which sets its own output).
            "--vout=vdummy",
            // X11 outputs on xcb only: those on Xlib would initialise Xlib's threading in the
            // host's process, which only the host may do, before its own first Xlib call.
            "--no-xlib",
#endif
        };
        return pVlc->libvlc_new(static_cast<int>(sizeof(args) / sizeof(args[0])), args);
    }();
    return pInstance;
}

// Callbacks of the media that reads the segments; the opaque value is the source.
int SourceOpen(void* pOpaque, void** ppData, std::uint64_t* pllSize) {
    auto* pSource = static_cast<QelSegmentSource*>(pOpaque);
    pSource->Open();
    *ppData = pSource;
    *pllSize = UINT64_MAX;  // unknown: the later segments may not be on disk yet
    return 0;
}

ssize_t SourceRead(void* pData, unsigned char* pBuffer, std::size_t nLength) {
    return static_cast<ssize_t>(static_cast<QelSegmentSource*>(pData)->Read(pBuffer, nLength));
}

// Having a seek callback also tells libvlc that the stream keeps the player's pace and
// can pause, as a file does.
int SourceSeek(void* pData, std::uint64_t llOffset) {
    return static_cast<QelSegmentSource*>(pData)->Seek(llOffset) ? 0 : -1;
}

void SourceClose(void* pData) {
    static_cast<QelSegmentSource*>(pData)->Close();
}

// The picture size a TS file states in its first bytes; nothing for other files. Encoders
// put it at the very start, so a small read nearly always does.
QelVideoSize TsFileVideoSize(const std::wstring& strPath) {
    QelFile file;
    if (strPath.empty() || !file.Open(strPath, false))
        return QelVideoSize();
    std::vector<unsigned char> vecHead;
    for (std::size_t nWant : {kSizeProbeFirst, kSizeProbeBytes}) {
        const std::size_t nHave = vecHead.size();
        vecHead.resize(nWant);
        vecHead.resize(nHave + file.Read(vecHead.data() + nHave, nWant - nHave));
        QelVideoSize size;
        if (QelTsVideoSize(vecHead.data(), vecHead.size(), size))
            return size;
        if (vecHead.size() < nWant)
            break;  // the whole file was read
    }
    return QelVideoSize();
}

std::int64_t NowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

std::unique_ptr<QelEnginePlayer> QelEnginePlayer::Open(const std::string& strPath, HWND hRenderWnd) {
    const QelVlcApi* pVlc = QelVlc::Api();
    if (!pVlc || strPath.empty())
        return nullptr;
    libvlc_instance_t* pInstance = SharedInstance(pVlc);
    if (!pInstance)
        return nullptr;
    std::unique_ptr<QelEnginePlayer> self(new QelEnginePlayer(pVlc, pInstance, strPath, nullptr, hRenderWnd));
    if (strPath.find("://") == std::string::npos)
        self->m_statedSize = TsFileVideoSize(QelString::AnsiToUnicode(strPath));
    return Start(std::move(self));
}

std::unique_ptr<QelEnginePlayer> QelEnginePlayer::OpenSegments(const std::vector<QelTSItem>& vecSegments,
                                                               HWND hRenderWnd) {
    const QelVlcApi* pVlc = QelVlc::Api();
    if (!pVlc || vecSegments.empty())
        return nullptr;
    libvlc_instance_t* pInstance = SharedInstance(pVlc);
    if (!pInstance)
        return nullptr;
    auto pSource = std::make_unique<QelSegmentSource>(vecSegments);
    // The first segment on disk states the size; one not cached yet ends the search.
    QelVideoSize statedSize;
    for (std::size_t nPos = 0; nPos < pSource->Count() && statedSize.nWidth == 0; ++nPos) {
        const std::wstring& strSegment = pSource->PathOf(nPos);
        if (!strSegment.empty() && !QelFileUtils::IsFileExist(strSegment))
            break;
        statedSize = TsFileVideoSize(strSegment);
    }
    std::unique_ptr<QelEnginePlayer> self(
        new QelEnginePlayer(pVlc, pInstance, std::string(), std::move(pSource), hRenderWnd));
    self->m_statedSize = statedSize;
    // Playback held up by a segment not cached yet needs it next, as after a seek: the
    // window hears of it the same way, so that its download comes first. Without this a
    // prefetch chain that a seek halted would leave playback waiting for good.
    if (hRenderWnd) {
        QelEnginePlayer* pPlayer = self.get();
        // Read-ahead during the open may meet the gap long before Play: it is told then.
        self->m_pSource->SetMissingSegmentHandler([pPlayer](int nIndex) {
            if (!pPlayer->m_bPlayRequested)
                return false;
            pPlayer->PostToRenderWindow(QEL_VIDEO_SEEK_TS, static_cast<WPARAM>(nIndex), 0);
            return true;
        });
    }
    return Start(std::move(self));
}

QelEnginePlayer::QelEnginePlayer(const QelVlcApi* pVlc, libvlc_instance_t* pInstance, std::string strPath,
                                 std::unique_ptr<QelSegmentSource> pSource, HWND hRenderWnd)
    : m_pVlc(pVlc),
      m_pInstance(pInstance),
      m_strPath(std::move(strPath)),
      m_pSource(std::move(pSource)),
      m_hRenderWnd(hRenderWnd) {}

std::unique_ptr<QelEnginePlayer> QelEnginePlayer::Start(std::unique_ptr<QelEnginePlayer> self) {
    // Decode up to the first picture, then hold: the size is known before Play.
    libvlc_media_t* pMedia = self->NewMedia(true);
    if (!pMedia)
        return nullptr;
    self->m_pPlayer = self->m_pVlc->libvlc_media_player_new_from_media(pMedia);
    self->m_pVlc->libvlc_media_release(pMedia);
    if (!self->m_pPlayer)
        return nullptr;
    // The picture goes into a child of the render window kept at the video area; where none
    // can be made, into the render window itself (Windows) or nowhere (Linux).
    self->m_pArea = QelVideoAreaWindow::Create(self->m_hRenderWnd);
#ifdef _WIN32
    const bool bDrawn = self->m_hRenderWnd != nullptr;
    if (bDrawn)
        self->m_pVlc->libvlc_media_player_set_hwnd(self->m_pPlayer,
                                                   self->m_pArea ? self->m_pArea->Handle() : self->m_hRenderWnd);
#else
    const bool bDrawn = self->m_pArea != nullptr;
    if (bDrawn)
        self->m_pVlc->libvlc_media_player_set_xwindow(self->m_pPlayer, self->m_pArea->XWindow());
#endif
    if (bDrawn) {
        // Clicks and keys belong to the render window (double clicks, full screen).
        self->m_pVlc->libvlc_video_set_mouse_input(self->m_pPlayer, false);
        self->m_pVlc->libvlc_video_set_key_input(self->m_pPlayer, false);
    }
    libvlc_event_manager_t* pEvents = self->m_pVlc->libvlc_media_player_event_manager(self->m_pPlayer);
    for (libvlc_event_type_t type : kEvents)
        self->m_pVlc->libvlc_event_attach(pEvents, type, &QelEnginePlayer::OnVlcEvent, self.get());
    if (!self->WaitForFormat())
        return nullptr;
    return self;
}

libvlc_media_t* QelEnginePlayer::NewMedia(bool bHold) const {
    libvlc_media_t* pMedia = nullptr;
    if (m_pSource) {
        pMedia = m_pVlc->libvlc_media_new_callbacks(m_pInstance, &SourceOpen, &SourceRead, &SourceSeek, &SourceClose,
                                                   m_pSource.get());
        // Segments are TS by definition; no probing of other formats.
        if (pMedia)
            m_pVlc->libvlc_media_add_option(pMedia, ":demux=ts");
    } else {
        const bool bLocation = m_strPath.find("://") != std::string::npos;
        pMedia = bLocation ? m_pVlc->libvlc_media_new_location(m_pInstance, m_strPath.c_str())
                           : m_pVlc->libvlc_media_new_path(m_pInstance, m_strPath.c_str());
    }
    if (pMedia && bHold)
        m_pVlc->libvlc_media_add_option(pMedia, ":start-paused");
    return pMedia;
}

QelEnginePlayer::~QelEnginePlayer() {
    if (!m_pPlayer)
        return;
    m_bRestarting = true;
    // A read waiting for a segment would hold the stop below.
    if (m_pSource)
        m_pSource->Abort();
    // Stop first: it waits for libvlc's input thread, the one that raises the events.
    m_pVlc->libvlc_media_player_stop(m_pPlayer);
    libvlc_event_manager_t* pEvents = m_pVlc->libvlc_media_player_event_manager(m_pPlayer);
    for (libvlc_event_type_t type : kEvents)
        m_pVlc->libvlc_event_detach(pEvents, type, &QelEnginePlayer::OnVlcEvent, this);
    m_pVlc->libvlc_media_player_release(m_pPlayer);
}

void QelEnginePlayer::OnVlcEvent(const libvlc_event_t* pEvent, void* pSelf) {
    auto* self = static_cast<QelEnginePlayer*>(pSelf);
    switch (pEvent->type) {
    case libvlc_MediaPlayerTimeChanged:
    case libvlc_MediaPlayerPlaying:
        self->m_llLastTimeChange = NowMs();
        return;
    case libvlc_MediaPlayerEndReached:
        if (self->m_bRestarting)
            return;
        self->m_bEnded = true;
        // An end before the first Play is a source with nothing to play: Open reports it.
        if (self->m_bPlayRequested && !self->m_bEndPosted.exchange(true))
            self->PostToRenderWindow(QEL_VIDEO_PLAYER_EVENT, QEL_VIDEO_EVENT_END, 0);
        break;
    case libvlc_MediaPlayerEncounteredError:
        self->m_bFailed = true;
        break;
    case libvlc_MediaPlayerVout:
        self->m_bVout = true;
        break;
    case libvlc_MediaPlayerBuffering:
        if (pEvent->u.media_player_buffering.new_cache >= 100.0f)
            self->m_bBuffered = true;
        break;
    case libvlc_MediaPlayerPaused:
        // The time first: a waiter that sees the flag must see when it was raised.
        if (!self->m_bHeld) {
            self->m_llHeldAt = NowMs();
            self->m_bHeld = true;
        }
        break;
    default:
        return;
    }
    // Taken so that a waiter between its check and its wait still hears of it.
    std::lock_guard<std::mutex> lock(self->m_mutex);
    self->m_formatKnown.notify_all();
}

bool QelEnginePlayer::FormatWaitIsOver() {
    if (m_bFailed || m_bEnded || m_bVout)
        return true;
    // Segments not on disk yet tell nothing about the format; the wait would be in vain.
    if (m_pSource && m_pSource->IsWaiting() && m_pSource->BytesRead() == 0)
        return true;
    if (!m_bHeld)
        return false;
    // Held and buffered: every stream present at the start is known. A transport stream
    // shows its first picture while held, so the wait goes on for it; a container that
    // declares the size keeps its first picture for Play; without video there is none.
    if (m_bBuffered) {
        if (m_pVlc->libvlc_video_get_track_count(m_pPlayer) <= 0)
            return true;
        unsigned width = 0, height = 0;
        if (m_statedSize.nWidth == 0 && m_pVlc->libvlc_video_get_size(m_pPlayer, 0, &width, &height) == 0 &&
            width > 0 && height > 0)
            return true;
    }
    return NowMs() - m_llHeldAt >= kPicturelessWait.count();
}

bool QelEnginePlayer::WaitForFormat() {
    if (m_pVlc->libvlc_media_player_play(m_pPlayer) != 0)
        return false;
    const auto deadline = std::chrono::steady_clock::now() + kFormatWait;
    // libvlc is asked outside the lock: its event thread takes the lock to notify.
    while (!FormatWaitIsOver() && std::chrono::steady_clock::now() < deadline) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_formatKnown.wait_for(lock, kFormatPoll);
    }
    if (m_bFailed)
        return false;
    if (m_bEnded && (m_pSource ? m_pSource->BytesRead() == 0 : Duration() == 0))
        return false;
    unsigned width = 0, height = 0;
    if (m_statedSize.nWidth > 0) {
        m_nWidth = m_statedSize.nWidth;
        m_nHeight = m_statedSize.nHeight;
    } else if (m_pVlc->libvlc_video_get_size(m_pPlayer, 0, &width, &height) == 0) {
        m_nWidth = static_cast<std::int32_t>(width);
        m_nHeight = static_cast<std::int32_t>(height);
    }
    return true;
}

void QelEnginePlayer::Play() {
    m_bPlayRequested = true;
    m_bPauseRequested = false;
    if (m_bEnded.exchange(false)) {
        // After the end, Play starts over from the beginning, this time without holding.
        if (m_pSource) {
            RestartAt(0, false);
            return;
        }
        m_pVlc->libvlc_media_player_stop(m_pPlayer);
        if (libvlc_media_t* pMedia = NewMedia(false)) {
            m_pVlc->libvlc_media_player_set_media(m_pPlayer, pMedia);
            m_pVlc->libvlc_media_release(pMedia);
        }
        m_bEndPosted = false;
        m_pVlc->libvlc_media_player_play(m_pPlayer);
        return;
    }
    m_pVlc->libvlc_media_player_set_pause(m_pPlayer, 0);
}

void QelEnginePlayer::Pause() {
    m_bPauseRequested = true;
    m_pVlc->libvlc_media_player_set_pause(m_pPlayer, 1);
}

void QelEnginePlayer::Seek(std::int64_t llPositionMs) {
    if (!m_pSource) {
        m_pVlc->libvlc_media_player_set_time(m_pPlayer,
                                             static_cast<libvlc_time_t>(std::max<std::int64_t>(0, llPositionMs)));
        return;
    }
    // The stream cannot seek inside segments that may not be cached: it starts again at
    // the segment that holds the position, and the downloads learn which one it needs.
    const std::int64_t llTarget = std::clamp<std::int64_t>(llPositionMs, 0, m_pSource->DurationMs());
    const std::size_t nPos = m_pSource->PosAt(llTarget);
    PostToRenderWindow(QEL_VIDEO_SEEK_TS, static_cast<WPARAM>(m_pSource->IndexOf(nPos)), 0);
    RestartAt(nPos, m_bPauseRequested || !m_bPlayRequested);
}

void QelEnginePlayer::PostToRenderWindow(UINT nMsg, WPARAM wParam, LPARAM lParam) const {
#ifndef _WIN32
    // An X11 render window is no message queue of this process: its client hears of it
    // through its X11 events.
    if (m_pArea) {
        m_pArea->PostToRenderWindow(nMsg, wParam, lParam);
        return;
    }
#endif
    if (m_hRenderWnd)
        PostMessageW(m_hRenderWnd, nMsg, wParam, lParam);
}

void QelEnginePlayer::RestartAt(std::size_t nPos, bool bHold) {
    m_bRestarting = true;
    m_pSource->Abort();
    m_pVlc->libvlc_media_player_stop(m_pPlayer);
    m_pSource->Rewind(nPos);
    m_llRunStartMs = m_pSource->StartMs(nPos);
    m_llPositionFloor = m_llRunStartMs.load();
    m_llLastTimeChange = NowMs();
    m_bEnded = false;
    m_bEndPosted = false;
    m_bRestarting = false;
    if (libvlc_media_t* pMedia = NewMedia(bHold)) {
        m_pVlc->libvlc_media_player_set_media(m_pPlayer, pMedia);
        m_pVlc->libvlc_media_release(pMedia);
    }
    m_pVlc->libvlc_media_player_play(m_pPlayer);
}

void QelEnginePlayer::SetRect(std::int32_t nArea, std::int32_t nLeft, std::int32_t nTop, std::int32_t nWidth,
                              std::int32_t nHeight) {
    // Areas 0 and 1 are one and the same video area; the last rectangle wins.
    if (nArea != 0 && nArea != 1)
        return;
    if (m_pArea)
        m_pArea->Move(nLeft, nTop, nWidth, nHeight);
    m_nRectWidth = nWidth;
    m_nRectHeight = nHeight;
    ApplyRenderType();
}

int QelEnginePlayer::VlcVolume(std::int32_t nEngineVolume) {
    const long long llScaled = 100LL + (static_cast<long long>(nEngineVolume) * 100) / -kSilenceEngineVolume;
    return static_cast<int>(std::clamp<long long>(llScaled, 0, 200));
}

void QelEnginePlayer::SetVolume(std::int32_t nEngineVolume) {
    m_pVlc->libvlc_audio_set_volume(m_pPlayer, VlcVolume(nEngineVolume));
}

void QelEnginePlayer::SetSpeed(std::int32_t nPercent) {
    if (nPercent > 0)
        m_pVlc->libvlc_media_player_set_rate(m_pPlayer, static_cast<float>(nPercent) / 100.0f);
}

void QelEnginePlayer::SetRenderType(std::int32_t nType) {
    m_nRenderType = nType;
    ApplyRenderType();
}

void QelEnginePlayer::ApplyRenderType() {
    // 1 stretches the picture over the render area; anything else keeps its aspect ratio.
    if (m_nRenderType == 1 && m_nRectWidth > 0 && m_nRectHeight > 0) {
        const std::string strRatio = std::to_string(m_nRectWidth) + ":" + std::to_string(m_nRectHeight);
        m_pVlc->libvlc_video_set_aspect_ratio(m_pPlayer, strRatio.c_str());
    } else {
        m_pVlc->libvlc_video_set_aspect_ratio(m_pPlayer, nullptr);
    }
}

std::int64_t QelEnginePlayer::Position() const {
    const libvlc_time_t llTime = m_pVlc->libvlc_media_player_get_time(m_pPlayer);
    const std::int64_t llRunTime = llTime > 0 ? static_cast<std::int64_t>(llTime) : 0;
    if (!m_pSource)
        return llRunTime;
    // On the playlist's time line: the run's first segment starts at the sum of the
    // earlier durations, and libvlc counts from the start of the run.
    if (m_bEnded)
        return std::max(Duration(), m_llPositionFloor.load());
    std::int64_t llPosition = m_llRunStartMs + llRunTime;
    if (Duration() > 0)
        llPosition = std::min(llPosition, Duration());
    // libvlc's time may step back a little at a timestamp jump; within a run it never does.
    const std::int64_t llFloor = m_llPositionFloor;
    if (llPosition < llFloor)
        return llFloor;
    m_llPositionFloor = llPosition;
    return llPosition;
}

std::int64_t QelEnginePlayer::Duration() const {
    if (m_pSource)
        return m_pSource->DurationMs();
    const libvlc_time_t llLength = m_pVlc->libvlc_media_player_get_length(m_pPlayer);
    return llLength > 0 ? static_cast<std::int64_t>(llLength) : 0;
}

bool QelEnginePlayer::IsStarving() const {
    // The reader waits for a segment, and libvlc's clock has stopped: the data it had is used up.
    return m_pSource && m_pSource->IsWaiting() &&
           (m_pSource->BytesRead() == 0 || NowMs() - m_llLastTimeChange >= kStarvedAfter.count());
}

std::int32_t QelEnginePlayer::State() const {
    const libvlc_state_t state = m_pVlc->libvlc_media_player_get_state(m_pPlayer);
    // A pause asked for while starving takes effect in libvlc only when data comes again.
    if (state != libvlc_Paused && state != libvlc_Ended && state != libvlc_Error && IsStarving())
        return m_bPauseRequested ? QEL_STATE_PAUSED : QEL_STATE_CACHING;
    switch (state) {
    case libvlc_Playing:
        return QEL_STATE_PLAYING;
    case libvlc_Paused:
        return QEL_STATE_PAUSED;
    case libvlc_Opening:
    case libvlc_Buffering:
        return QEL_STATE_CACHING;
    case libvlc_Ended:
        return QEL_STATE_ENDED;
    case libvlc_Error:
        return QEL_STATE_ERROR;
    default:
        return QEL_STATE_IDLE;
    }
}
