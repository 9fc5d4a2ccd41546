// The engine's eight functions. A handle is a QelEnginePlayer; the 0 handle does nothing.
//
// The render window given to Open receives the engine's messages; the picture is drawn in
// a child of it at the video area that QelVideoPlayerSetRect sets. Areas 0 and 1 are that
// same area (the manager always sends the same rectangle to both; the last one wins), in
// the render window's client coordinates; until the first call it is the whole render
// window. Render type 1 stretches the picture over the area, any other value keeps its
// aspect ratio inside it. A render window is a Windows HWND, or on Linux an X11 window id
// (drawn on the display DISPLAY names; the messages come as X11 events, see
// winapi/QelX11PostedMessage.h) or a message queue of this process (no picture).
//
// These are C functions: nothing thrown inside leaves them. Open then fails; the others do
// nothing (GetParam leaves the output as it was).
#include <string>

#include "QelEnginePlayer.h"
#include "video/QelVideoEngine.h"

namespace {

QelEnginePlayer* PlayerOf(QelVideoPlayerHandle hPlayer) {
    return static_cast<QelEnginePlayer*>(hPlayer);
}

// Runs fn on the player, when there is one; an exception ends the call.
template <typename Fn>
void OnPlayer(QelVideoPlayerHandle hPlayer, Fn fn) noexcept {
    if (!hPlayer)
        return;
    try {
        fn(*PlayerOf(hPlayer));
    } catch (...) {
    }
}

}  // namespace

extern "C" {

QelVideoPlayerHandle QelVideoPlayerOpen(const char* path, std::vector<QelTSItem>* segments, HWND renderWnd) {
    try {
        // An HLS video plays from its segments alone: the playlist file is never read.
        if (segments && !segments->empty())
            return QelEnginePlayer::OpenSegments(*segments, renderWnd).release();
        if (!path)
            return nullptr;
        return QelEnginePlayer::Open(path, renderWnd).release();
    } catch (...) {
        return nullptr;
    }
}

void QelVideoPlayerClose(QelVideoPlayerHandle player) {
    // The player's destructor throws nothing; delete of a null handle does nothing.
    delete PlayerOf(player);
}

void QelVideoPlayerPlay(QelVideoPlayerHandle player) {
    OnPlayer(player, [](QelEnginePlayer& engine) { engine.Play(); });
}

void QelVideoPlayerPause(QelVideoPlayerHandle player) {
    OnPlayer(player, [](QelEnginePlayer& engine) { engine.Pause(); });
}

void QelVideoPlayerSeek(QelVideoPlayerHandle player, std::int64_t positionMs) {
    OnPlayer(player, [positionMs](QelEnginePlayer& engine) { engine.Seek(positionMs); });
}

void QelVideoPlayerSetRect(QelVideoPlayerHandle player, std::int32_t area, std::int32_t left, std::int32_t top,
                           std::int32_t width, std::int32_t height) {
    OnPlayer(player, [=](QelEnginePlayer& engine) { engine.SetRect(area, left, top, width, height); });
}

void QelVideoPlayerSetParam(QelVideoPlayerHandle player, std::int32_t id, void* value) {
    if (!player || !value)
        return;
    const std::int32_t nValue = *static_cast<const std::int32_t*>(value);
    OnPlayer(player, [id, nValue](QelEnginePlayer& engine) {
        switch (id) {
        case QEL_PARAM_VOLUME:
            engine.SetVolume(nValue);
            break;
        case QEL_PARAM_SPEED:
            engine.SetSpeed(nValue);
            break;
        case QEL_PARAM_RENDER_TYPE:
            engine.SetRenderType(nValue);
            break;
        default:
            break;
        }
    });
}

void QelVideoPlayerGetParam(QelVideoPlayerHandle player, std::int32_t id, void* value) {
    if (!value)
        return;
    OnPlayer(player, [id, value](QelEnginePlayer& engine) {
        switch (id) {
        case QEL_PARAM_DURATION:
            *static_cast<std::int64_t*>(value) = engine.Duration();
            break;
        case QEL_PARAM_POSITION:
            *static_cast<std::int64_t*>(value) = engine.Position();
            break;
        case QEL_PARAM_STATE:
            *static_cast<std::int32_t*>(value) = engine.State();
            break;
        case QEL_PARAM_WIDTH:
            *static_cast<std::int32_t*>(value) = engine.Width();
            break;
        case QEL_PARAM_HEIGHT:
            *static_cast<std::int32_t*>(value) = engine.Height();
            break;
        default:
            break;
        }
    });
}

}  // extern "C"
