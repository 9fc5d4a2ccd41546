// The surface of QelMediaEngine, the video engine library: eight plain functions.
// Every function accepts the 0 handle and then does nothing (GetParam leaves the output
// untouched). The engine posts QEL_VIDEO_SEEK_TS and QEL_VIDEO_PLAYER_EVENT to the render
// window it was given (see QelMessages.h): QEL_VIDEO_SEEK_TS names the segment it needs
// next, after a seek and whenever playback reaches a segment that is not cached yet.
#pragma once

#include <cstdint>
#include <vector>

#include "segment_cache/QelTSItem.h"
#include "winapi/QelWinApi.h"

#if defined(_WIN32)
#if defined(QEL_ENGINE_BUILDING)
#define QEL_ENGINE_API __declspec(dllexport)
#else
#define QEL_ENGINE_API __declspec(dllimport)
#endif
#else
#define QEL_ENGINE_API __attribute__((visibility("default")))
#endif

typedef void* QelVideoPlayerHandle;

// Parameter ids; the value is passed by pointer.
enum QelVideoEngineParam : std::int32_t {
    QEL_PARAM_DURATION = 0x1000,     // int64 ms, get
    QEL_PARAM_POSITION = 0x1001,     // int64 ms, get
    QEL_PARAM_STATE = 0x1002,        // int32, get (QelVideoEngineState)
    QEL_PARAM_WIDTH = 0x1003,        // int32 pixels, get
    QEL_PARAM_HEIGHT = 0x1004,       // int32 pixels, get
    QEL_PARAM_VOLUME = 0x1006,       // int32, set; -182 is silence, 0 normal loudness
    QEL_PARAM_SPEED = 0x1007,        // int32 percent of normal speed, set
    QEL_PARAM_RENDER_TYPE = 0x3000,  // int32, set; 1 stretches the picture over the render
                                     // area, any other value keeps its aspect ratio
};

// Values of QEL_PARAM_STATE. The manager reads only PAUSED and CACHING.
enum QelVideoEngineState : std::int32_t {
    QEL_STATE_IDLE = 0,
    QEL_STATE_PLAYING = 1,
    QEL_STATE_PAUSED = 2,
    QEL_STATE_CACHING = 3,
    QEL_STATE_ENDED = 4,
    QEL_STATE_ERROR = 5,
};

extern "C" {

// path: ANSI code page. segments: the HLS segment list (empty for a plain video), valid
// only during the call. Returns 0 on failure.
QEL_ENGINE_API QelVideoPlayerHandle QelVideoPlayerOpen(const char* path, std::vector<QelTSItem>* segments,
                                                       HWND renderWnd);
QEL_ENGINE_API void QelVideoPlayerClose(QelVideoPlayerHandle player);
QEL_ENGINE_API void QelVideoPlayerPlay(QelVideoPlayerHandle player);
QEL_ENGINE_API void QelVideoPlayerPause(QelVideoPlayerHandle player);
QEL_ENGINE_API void QelVideoPlayerSeek(QelVideoPlayerHandle player, std::int64_t positionMs);
// area: 0 or 1, both the same video area in the render window's client coordinates (the
// manager always sends the same rectangle to both; the last one wins). The picture is
// drawn there, in a child of the render window; render type 1 stretches it to the area.
// Other area numbers are ignored.
QEL_ENGINE_API void QelVideoPlayerSetRect(QelVideoPlayerHandle player, std::int32_t area, std::int32_t left,
                                          std::int32_t top, std::int32_t width, std::int32_t height);
QEL_ENGINE_API void QelVideoPlayerSetParam(QelVideoPlayerHandle player, std::int32_t id, void* value);
QEL_ENGINE_API void QelVideoPlayerGetParam(QelVideoPlayerHandle player, std::int32_t id, void* value);

}  // extern "C"
