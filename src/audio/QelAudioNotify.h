// The three event hooks an audio window installs on its QelAudioPlayerManagerVlc
// (SetPlayingCallback, SetPosChangedCallback, SetEndReachedCallback). Each runs on libvlc's
// thread and only posts QEL_AUDIO_PLAYING, QEL_AUDIO_POS_CHANGED or QEL_AUDIO_END_REACHED
// to the player's notify window, with the player as wParam and 0 as lParam, so that every
// reaction runs on the window's own thread. Nothing is posted for a null player or when
// the notify handle is no (longer a) window. They never send and never touch the window.
#pragma once

class QelAudioPlayerManager;

void QelAudioNotifyPlaying(QelAudioPlayerManager* pPlayer);
void QelAudioNotifyPosChanged(QelAudioPlayerManager* pPlayer);
void QelAudioNotifyEndReached(QelAudioPlayerManager* pPlayer);
