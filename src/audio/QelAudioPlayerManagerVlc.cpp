#include "audio/QelAudioPlayerManagerVlc.h"

#include <cmath>
#include <cstring>

#include "utils/QelString.h"
#include "vlc/QelVlc.h"

namespace {

const long long kJumpMs = 5000;

// The event numbers are part of what the player reacts to; pin them.
static_assert(libvlc_MediaPlayerPlaying == 260 && libvlc_MediaPlayerEndReached == 265 &&
                  libvlc_MediaPlayerPositionChanged == 268,
              "libvlc event numbers changed");

// The prefixes that make an address a network location. "rstp" (sic) is kept as it has
// always been: an rtsp:// address goes to libvlc as a path.
bool IsNetworkLocation(const std::string& strUtf8) {
    static const char* const kPrefixes[] = {"http", "https", "ftp", "rstp"};
    for (const char* pszPrefix : kPrefixes) {
        if (strUtf8.compare(0, std::strlen(pszPrefix), pszPrefix) == 0)
            return true;
    }
    return false;
}

}  // namespace

QelAudioPlayerManagerVlc::QelAudioPlayerManagerVlc(QelAudioPlayerWindow* pOwner)
    : QelAudioPlayerManager(pOwner),
      m_pInstance(nullptr),
      m_pPlayer(nullptr),
      m_hNotifyWnd(nullptr),
      m_pfnPlaying(nullptr),
      m_pfnPosChanged(nullptr),
      m_pfnEndReached(nullptr) {}

QelAudioPlayerManagerVlc::~QelAudioPlayerManagerVlc() {
    // Stopping joins libvlc's input thread, so no event handler can still be running with
    // this object as its data once the player is gone.
    QelAudioPlayerManagerVlc::Stop();
    if (m_pInstance) {
        QelVlc::Api()->libvlc_release(m_pInstance);
        m_pInstance = nullptr;
    }
}

bool QelAudioPlayerManagerVlc::Play(const std::wstring& url) {
    // The one member that allocates; the others only call libvlc's C functions.
    try {
        return Open(url);
    } catch (...) {
        return false;
    }
}

bool QelAudioPlayerManagerVlc::Open(const std::wstring& url) {
    const QelVlcApi* vlc = QelVlc::Api();
    if (!m_pInstance) {
        m_pPlayer = nullptr;
        m_pInstance = vlc ? vlc->libvlc_new(0, nullptr) : nullptr;
    }
    if (url.empty() || !m_pInstance)
        return false;

    const std::string strUtf8 = QelString::UnicodeToUtf8(url);
    const bool bLocation = IsNetworkLocation(strUtf8);
    Stop();

    libvlc_media_t* pMedia = bLocation ? vlc->libvlc_media_new_location(m_pInstance, strUtf8.c_str())
                                       : vlc->libvlc_media_new_path(m_pInstance, strUtf8.c_str());
    if (!pMedia)
        return false;
    m_pPlayer = vlc->libvlc_media_player_new_from_media(pMedia);
    if (!m_pPlayer) {
        vlc->libvlc_media_release(pMedia);
        return false;
    }
#ifdef _WIN32
    vlc->libvlc_media_player_set_hwnd(m_pPlayer, m_hNotifyWnd.load());
#endif
    // Elsewhere the notify handle names a message queue, which is no drawable.

    // The handler goes on before playback starts: libvlc's input thread may reach Playing
    // before a call after play() returns, and that first event must not be lost.
    libvlc_event_manager_t* pEvents = vlc->libvlc_media_player_event_manager(m_pPlayer);
    vlc->libvlc_event_attach(pEvents, libvlc_MediaPlayerPlaying, &OnVlcEvent, this);
    vlc->libvlc_event_attach(pEvents, libvlc_MediaPlayerPositionChanged, &OnVlcEvent, this);
    vlc->libvlc_event_attach(pEvents, libvlc_MediaPlayerEndReached, &OnVlcEvent, this);
    vlc->libvlc_media_player_play(m_pPlayer);

    vlc->libvlc_media_release(pMedia);
    return true;
}

void QelAudioPlayerManagerVlc::Pause() {
    if (m_pPlayer)
        QelVlc::Api()->libvlc_media_player_pause(m_pPlayer);
}

void QelAudioPlayerManagerVlc::Resume() {
    if (m_pPlayer)
        QelVlc::Api()->libvlc_media_player_play(m_pPlayer);
}

void QelAudioPlayerManagerVlc::Stop() {
    if (!m_pPlayer)
        return;
    // libvlc's stop returns after its input thread has ended, and the events handled here
    // all come from that thread: none arrives once the player is released.
    const QelVlcApi* vlc = QelVlc::Api();
    vlc->libvlc_media_player_stop(m_pPlayer);
    vlc->libvlc_media_player_release(m_pPlayer);
    m_pPlayer = nullptr;
}

void QelAudioPlayerManagerVlc::SetPosition(int nPos) {
    // Taken unsigned, so negative positions are out of range too.
    if (static_cast<unsigned int>(nPos) > 1000u)
        return;
    if (m_pPlayer)
        QelVlc::Api()->libvlc_media_player_set_position(m_pPlayer, static_cast<float>(nPos) / 1000.0f);
}

void QelAudioPlayerManagerVlc::Forward() {
    if (!m_pPlayer)
        return;
    const QelVlcApi* vlc = QelVlc::Api();
    long long llTime = vlc->libvlc_media_player_get_time(m_pPlayer) + kJumpMs;
    if (llTime > GetLength())
        llTime = GetLength();
    vlc->libvlc_media_player_set_time(m_pPlayer, llTime);
}

void QelAudioPlayerManagerVlc::Backward() {
    if (!m_pPlayer)
        return;
    const QelVlcApi* vlc = QelVlc::Api();
    long long llTime = vlc->libvlc_media_player_get_time(m_pPlayer) - kJumpMs;
    if (llTime < 0)
        llTime = 0;
    vlc->libvlc_media_player_set_time(m_pPlayer, llTime);
}

void QelAudioPlayerManagerVlc::SetVolume(int nVolume) {
    if (nVolume >= 0 && m_pPlayer)
        QelVlc::Api()->libvlc_audio_set_volume(m_pPlayer, nVolume);
}

int QelAudioPlayerManagerVlc::GetVolume() {
    return m_pPlayer ? QelVlc::Api()->libvlc_audio_get_volume(m_pPlayer) : 0;
}

bool QelAudioPlayerManagerVlc::IsPlaying() {
    return m_pPlayer && QelVlc::Api()->libvlc_media_player_is_playing(m_pPlayer) == 1;
}

int QelAudioPlayerManagerVlc::GetPosition() {
    if (!m_pPlayer)
        return 0;
    const float fPos = QelVlc::Api()->libvlc_media_player_get_position(m_pPlayer) * 1000.0f;
    // libvlc answers within [0, 1] or -1; anything else would not fit an int.
    if (!std::isfinite(fPos) || std::fabs(fPos) > 1.0e9f)
        return 0;
    return static_cast<int>(fPos);
}

long long QelAudioPlayerManagerVlc::GetLength() {
    return m_pPlayer ? QelVlc::Api()->libvlc_media_player_get_length(m_pPlayer) : 0;
}

long long QelAudioPlayerManagerVlc::GetTime() {
    return m_pPlayer ? QelVlc::Api()->libvlc_media_player_get_time(m_pPlayer) : 0;
}

void QelAudioPlayerManagerVlc::SetOption(int) {}

int QelAudioPlayerManagerVlc::GetOption() { return 1; }

void QelAudioPlayerManagerVlc::SetHWnd(HWND hWnd) { m_hNotifyWnd = hWnd; }

HWND QelAudioPlayerManagerVlc::GetHWnd() { return m_hNotifyWnd; }

void QelAudioPlayerManagerVlc::SetPlayingCallback(QelAudioEventCallback pfn) { m_pfnPlaying = pfn; }

void QelAudioPlayerManagerVlc::SetPosChangedCallback(QelAudioEventCallback pfn) { m_pfnPosChanged = pfn; }

void QelAudioPlayerManagerVlc::SetEndReachedCallback(QelAudioEventCallback pfn) { m_pfnEndReached = pfn; }

void QelAudioPlayerManagerVlc::OnVlcEvent(const libvlc_event_t* event, void* data) {
    if (!data || !event)
        return;
    QelAudioPlayerManagerVlc* pPlayer = static_cast<QelAudioPlayerManagerVlc*>(data);
    QelAudioEventCallback pfn = nullptr;
    switch (event->type) {
    case libvlc_MediaPlayerPlaying:
        pfn = pPlayer->m_pfnPlaying;
        break;
    case libvlc_MediaPlayerPositionChanged:
        pfn = pPlayer->m_pfnPosChanged;
        break;
    case libvlc_MediaPlayerEndReached:
        pfn = pPlayer->m_pfnEndReached;
        break;
    default:
        return;
    }
    // A host's hook must not throw into libvlc's thread.
    try {
        if (pfn)
            pfn(pPlayer);
    } catch (...) {
    }
}
