// The libvlc entry points used by the component, as one table of function pointers.
//
// On Linux libvlc is linked and the table simply holds its functions. On Windows libvlc.dll
// is loaded on first use, from the folder of the module that contains this code or else
// through the system's search (application folder, system folders, PATH), so that the
// component's own DLL loads and runs where VLC is not installed: the table is then absent
// and every caller treats libvlc as unavailable. The library, once loaded, stays loaded
// for the life of the process (libvlc's threads must never outlive its code).
#pragma once

#include <vlc/vlc.h>

// One entry per libvlc function; to use another one, add a line here.
#define QEL_VLC_FUNCTIONS(X)                  \
    X(libvlc_new)                             \
    X(libvlc_release)                         \
    X(libvlc_errmsg)                          \
    X(libvlc_free)                            \
    X(libvlc_event_attach)                    \
    X(libvlc_event_detach)                    \
    X(libvlc_media_new_path)                  \
    X(libvlc_media_new_location)              \
    X(libvlc_media_new_callbacks)             \
    X(libvlc_media_add_option)                \
    X(libvlc_media_get_mrl)                   \
    X(libvlc_media_release)                   \
    X(libvlc_media_player_new)                \
    X(libvlc_media_player_new_from_media)     \
    X(libvlc_media_player_release)            \
    X(libvlc_media_player_set_media)          \
    X(libvlc_media_player_get_media)          \
    X(libvlc_media_player_event_manager)      \
    X(libvlc_media_player_set_hwnd)           \
    X(libvlc_media_player_set_xwindow)        \
    X(libvlc_media_player_play)               \
    X(libvlc_media_player_pause)              \
    X(libvlc_media_player_set_pause)          \
    X(libvlc_media_player_stop)               \
    X(libvlc_media_player_is_playing)         \
    X(libvlc_media_player_get_state)          \
    X(libvlc_media_player_get_length)         \
    X(libvlc_media_player_get_time)           \
    X(libvlc_media_player_set_time)           \
    X(libvlc_media_player_get_position)       \
    X(libvlc_media_player_set_position)       \
    X(libvlc_media_player_set_rate)           \
    X(libvlc_video_get_size)                  \
    X(libvlc_video_get_track_count)           \
    X(libvlc_video_set_mouse_input)           \
    X(libvlc_video_set_key_input)             \
    X(libvlc_video_set_aspect_ratio)          \
    X(libvlc_audio_get_volume)                \
    X(libvlc_audio_set_volume)                \
    X(libvlc_audio_set_mute)

// Members carry the functions' own names, so a call reads vlc->libvlc_new(0, nullptr).
struct QelVlcApi {
#define QEL_VLC_MEMBER(name) decltype(&::name) name;
    QEL_VLC_FUNCTIONS(QEL_VLC_MEMBER)
#undef QEL_VLC_MEMBER
};

class QelVlc {
public:
    // The process-wide table, loaded on the first call (thread-safe); null when libvlc is
    // not available. Every entry of a returned table is set.
    static const QelVlcApi* Api();
};
