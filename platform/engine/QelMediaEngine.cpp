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
#include <string>

#include "QelEnginePlayer.h"
#include "video/QelVideoEngine.h"

namespace {

QelEnginePlayer* PlayerOf(QelVideoPlayerHandle hPlayer) {
    return static_cast<QelEnginePlayer*>(hPlayer);
}

}  // namespace

extern "C" {

QelVideoPlayerHandle QelVideoPlayerOpen(const char* path, std::vector<QelTSItem>* segments, HWND renderWnd) {
    // An HLS video plays from its segments alone: the playlist file is never read.
    if (segments && !segments->empty())
        return QelEnginePlayer::OpenSegments(*segments, renderWnd).release();
    if (!path)
        return nullptr;
    return QelEnginePlayer::Open(path, renderWnd).release();
}

void QelVideoPlayerClose(QelVideoPlayerHandle player) {
    delete PlayerOf(player);
}

void QelVideoPlayerPlay(QelVideoPlayerHandle player) {
    if (player)
        PlayerOf(player)->Play();
}

void QelVideoPlayerPause(QelVideoPlayerHandle player) {
    if (player)
        PlayerOf(player)->Pause();
}

void QelVideoPlayerSeek(QelVideoPlayerHandle player, std::int64_t positionMs) {
    if (player)
        PlayerOf(player)->Seek(positionMs);
}

void QelVideoPlayerSetRect(QelVideoPlayerHandle player, std::int32_t area, std::int32_t left, std::int32_t top,
                           std::int32_t width, std::int32_t height) {
    if (player)
        PlayerOf(player)->SetRect(area, left, top, width, height);
}

void QelVideoPlayerSetParam(QelVideoPlayerHandle player, std::int32_t id, void* value) {
    if (!player || !value)
        return;
    const std::int32_t nValue = *static_cast<const std::int32_t*>(value);
    switch (id) {
    case QEL_PARAM_VOLUME:
        PlayerOf(player)->SetVolume(nValue);
        break;
    case QEL_PARAM_SPEED:
        PlayerOf(player)->SetSpeed(nValue);
        break;
    case QEL_PARAM_RENDER_TYPE:
        PlayerOf(player)->SetRenderType(nValue);
        break;
    default:
        break;
    }
}

void QelVideoPlayerGetParam(QelVideoPlayerHandle player, std::int32_t id, void* value) {
    if (!player || !value)
        return;
    QelEnginePlayer* pPlayer = PlayerOf(player);
    switch (id) {
    case QEL_PARAM_DURATION:
        *static_cast<std::int64_t*>(value) = pPlayer->Duration();
        break;
    case QEL_PARAM_POSITION:
        *static_cast<std::int64_t*>(value) = pPlayer->Position();
        break;
    case QEL_PARAM_STATE:
        *static_cast<std::int32_t*>(value) = pPlayer->State();
        break;
    case QEL_PARAM_WIDTH:
        *static_cast<std::int32_t*>(value) = pPlayer->Width();
        break;
    case QEL_PARAM_HEIGHT:
        *static_cast<std::int32_t*>(value) = pPlayer->Height();
        break;
    default:
        break;
    }
}

}  // extern "C"
