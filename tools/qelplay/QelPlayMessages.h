// Names of the component's messages, as qelplay --events prints them.
#pragma once

#include "video/QelMessages.h"
#include "winapi/QelWinApi.h"

namespace qelplay {

inline const char* MessageName(UINT message) {
    switch (message) {
    case QEL_VIDEO_SEEK_TS: return "QEL_VIDEO_SEEK_TS";
    case QEL_VIDEO_STARTED: return "QEL_VIDEO_STARTED";
    case QEL_VIDEO_DOWNLOAD_FAILED: return "QEL_VIDEO_DOWNLOAD_FAILED";
    case QEL_VIDEO_DOWNLOAD_SUCCESS: return "QEL_VIDEO_DOWNLOAD_SUCCESS";
    case QEL_VIDEO_WINDOW_DBCLICK: return "QEL_VIDEO_WINDOW_DBCLICK";
    case QEL_VIDEO_PLAYER_EVENT: return "QEL_VIDEO_PLAYER_EVENT";
    case QEL_VIDEO_PLAY_REQUEST: return "QEL_VIDEO_PLAY_REQUEST";
    case QEL_VIDEO_STOP_REQUEST: return "QEL_VIDEO_STOP_REQUEST";
    case QEL_AUDIO_PLAYING: return "QEL_AUDIO_PLAYING";
    case QEL_AUDIO_POS_CHANGED: return "QEL_AUDIO_POS_CHANGED";
    case QEL_AUDIO_END_REACHED: return "QEL_AUDIO_END_REACHED";
    default: return "UNKNOWN";
    }
}

}  // namespace qelplay
