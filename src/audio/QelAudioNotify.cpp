#include "audio/QelAudioNotify.h"

#include "audio/QelAudioPlayerManagerVlc.h"
#include "video/QelMessages.h"
#include "winapi/QelWinApi.h"

namespace {

void PostToNotifyWindow(QelAudioPlayerManager* pPlayer, UINT nMessage) {
    if (!pPlayer)
        return;
    // The hooks are only ever installed on the libvlc player.
    const HWND hWnd = static_cast<QelAudioPlayerManagerVlc*>(pPlayer)->GetHWnd();
    if (IsWindow(hWnd))
        PostMessageW(hWnd, nMessage, reinterpret_cast<WPARAM>(pPlayer), 0);
}

}  // namespace

void QelAudioNotifyPlaying(QelAudioPlayerManager* pPlayer) { PostToNotifyWindow(pPlayer, QEL_AUDIO_PLAYING); }

void QelAudioNotifyPosChanged(QelAudioPlayerManager* pPlayer) { PostToNotifyWindow(pPlayer, QEL_AUDIO_POS_CHANGED); }

void QelAudioNotifyEndReached(QelAudioPlayerManager* pPlayer) { PostToNotifyWindow(pPlayer, QEL_AUDIO_END_REACHED); }
