#include "QelEnginePlayer.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "video/QelMessages.h"
#include "video/QelVideoEngine.h"

namespace {

// How long Open waits for the first video format before it answers without a size.
constexpr std::chrono::seconds kFormatWait{10};
constexpr int kSilenceEngineVolume = -182;

// One libvlc instance for the process: creating one scans the plugins, and players are
// opened and closed often. Kept until the process ends, as libvlc's own threads may be.
libvlc_instance_t* SharedInstance(const QelVlcApi* pVlc) {
    static libvlc_instance_t* const pInstance = [pVlc] {
        const char* const args[] = {
            "--quiet",
            "--no-video-title-show",
#ifndef _WIN32
            // A Linux render window is a message queue, never a drawable.
            "--vout=vdummy",
#endif
        };
        return pVlc->libvlc_new(static_cast<int>(sizeof(args) / sizeof(args[0])), args);
    }();
    return pInstance;
}

libvlc_media_t* NewMedia(const QelVlcApi* pVlc, libvlc_instance_t* pInstance, const std::string& strPath) {
    const bool bLocation = strPath.find("://") != std::string::npos;
    return bLocation ? pVlc->libvlc_media_new_location(pInstance, strPath.c_str())
                     : pVlc->libvlc_media_new_path(pInstance, strPath.c_str());
}

}  // namespace

std::unique_ptr<QelEnginePlayer> QelEnginePlayer::Open(const std::string& strPath, HWND hRenderWnd) {
    const QelVlcApi* pVlc = QelVlc::Api();
    if (!pVlc || strPath.empty())
        return nullptr;
    libvlc_instance_t* pInstance = SharedInstance(pVlc);
    if (!pInstance)
        return nullptr;

    libvlc_media_t* pMedia = NewMedia(pVlc, pInstance, strPath);
    if (!pMedia)
        return nullptr;
    // Decode up to the first picture, then hold: the size is known before Play.
    pVlc->libvlc_media_add_option(pMedia, ":start-paused");
    libvlc_media_player_t* pPlayer = pVlc->libvlc_media_player_new_from_media(pMedia);
    pVlc->libvlc_media_release(pMedia);
    if (!pPlayer)
        return nullptr;

    std::unique_ptr<QelEnginePlayer> self(new QelEnginePlayer(pVlc, pInstance, pPlayer, strPath, hRenderWnd));
    if (!self->WaitForFormat())
        return nullptr;
    return self;
}

QelEnginePlayer::QelEnginePlayer(const QelVlcApi* pVlc, libvlc_instance_t* pInstance, libvlc_media_player_t* pPlayer,
                                 const std::string& strPath, HWND hRenderWnd)
    : m_pVlc(pVlc), m_pInstance(pInstance), m_pPlayer(pPlayer), m_strPath(strPath), m_hRenderWnd(hRenderWnd) {
#ifdef _WIN32
    if (hRenderWnd) {
        m_pVlc->libvlc_media_player_set_hwnd(m_pPlayer, hRenderWnd);
        // Clicks and keys belong to the render window (double clicks, full screen).
        m_pVlc->libvlc_video_set_mouse_input(m_pPlayer, false);
        m_pVlc->libvlc_video_set_key_input(m_pPlayer, false);
    }
#endif
    libvlc_event_manager_t* pEvents = m_pVlc->libvlc_media_player_event_manager(m_pPlayer);
    for (libvlc_event_type_t type : {libvlc_MediaPlayerVout, libvlc_MediaPlayerPaused, libvlc_MediaPlayerEndReached,
                                     libvlc_MediaPlayerEncounteredError})
        m_pVlc->libvlc_event_attach(pEvents, type, &QelEnginePlayer::OnVlcEvent, this);
}

QelEnginePlayer::~QelEnginePlayer() {
    // Stop first: it waits for libvlc's input thread, the one that raises the events.
    m_pVlc->libvlc_media_player_stop(m_pPlayer);
    libvlc_event_manager_t* pEvents = m_pVlc->libvlc_media_player_event_manager(m_pPlayer);
    for (libvlc_event_type_t type : {libvlc_MediaPlayerVout, libvlc_MediaPlayerPaused, libvlc_MediaPlayerEndReached,
                                     libvlc_MediaPlayerEncounteredError})
        m_pVlc->libvlc_event_detach(pEvents, type, &QelEnginePlayer::OnVlcEvent, this);
    m_pVlc->libvlc_media_player_release(m_pPlayer);
}

void QelEnginePlayer::OnVlcEvent(const libvlc_event_t* pEvent, void* pSelf) {
    auto* self = static_cast<QelEnginePlayer*>(pSelf);
    switch (pEvent->type) {
    case libvlc_MediaPlayerEndReached:
        self->m_bEnded = true;
        // An end before the first Play is a source with nothing to play: Open reports it.
        if (self->m_bPlayRequested && !self->m_bEndPosted.exchange(true) && self->m_hRenderWnd)
            PostMessageW(self->m_hRenderWnd, QEL_VIDEO_PLAYER_EVENT, QEL_VIDEO_EVENT_END, 0);
        [[fallthrough]];
    case libvlc_MediaPlayerEncounteredError: {
        std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_bFailed = self->m_bFailed || pEvent->type == libvlc_MediaPlayerEncounteredError;
        self->m_bFormatKnown = true;
        break;
    }
    case libvlc_MediaPlayerVout:
    case libvlc_MediaPlayerPaused: {
        std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_bFormatKnown = true;
        break;
    }
    default:
        return;
    }
    self->m_formatKnown.notify_all();
}

bool QelEnginePlayer::WaitForFormat() {
    if (m_pVlc->libvlc_media_player_play(m_pPlayer) != 0)
        return false;
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_formatKnown.wait_for(lock, kFormatWait, [this] { return m_bFormatKnown; });
        if (m_bFailed)
            return false;
    }
    if (m_bEnded && Duration() == 0)
        return false;
    unsigned width = 0, height = 0;
    if (m_pVlc->libvlc_video_get_size(m_pPlayer, 0, &width, &height) == 0) {
        m_nWidth = static_cast<std::int32_t>(width);
        m_nHeight = static_cast<std::int32_t>(height);
    }
    return true;
}

void QelEnginePlayer::Play() {
    m_bPlayRequested = true;
    if (m_bEnded.exchange(false)) {
        // After the end, Play starts over from the beginning, this time without holding.
        m_pVlc->libvlc_media_player_stop(m_pPlayer);
        if (libvlc_media_t* pMedia = NewMedia(m_pVlc, m_pInstance, m_strPath)) {
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
    m_pVlc->libvlc_media_player_set_pause(m_pPlayer, 1);
}

void QelEnginePlayer::Seek(std::int64_t llPositionMs) {
    m_pVlc->libvlc_media_player_set_time(m_pPlayer, static_cast<libvlc_time_t>(std::max<std::int64_t>(0, llPositionMs)));
}

void QelEnginePlayer::SetRect(std::int32_t, std::int32_t, std::int32_t, std::int32_t nWidth, std::int32_t nHeight) {
    // libvlc fills the render window; the area matters for the stretch render type.
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
    return llTime > 0 ? static_cast<std::int64_t>(llTime) : 0;
}

std::int64_t QelEnginePlayer::Duration() const {
    const libvlc_time_t llLength = m_pVlc->libvlc_media_player_get_length(m_pPlayer);
    return llLength > 0 ? static_cast<std::int64_t>(llLength) : 0;
}

std::int32_t QelEnginePlayer::State() const {
    switch (m_pVlc->libvlc_media_player_get_state(m_pPlayer)) {
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
