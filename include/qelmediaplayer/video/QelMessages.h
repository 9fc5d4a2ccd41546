// Every window message of the system. Each sender posts (never sends), so each reaction
// runs later on the receiving window's own thread.
#pragma once

// Video: posted by the engine to the render window, which forwards it to the player
// window. wParam: index of the TS segment the engine needs next after a seek.
#define QEL_VIDEO_SEEK_TS 6715
// Posted by the manager's StartPlay after the engine open (also a failed one); (0, 0).
#define QEL_VIDEO_STARTED 10148
// wParam: 0 = playlist, 1 = TS segment; lParam: TS index (0 for the playlist).
#define QEL_VIDEO_DOWNLOAD_FAILED 10149
// wParam: low 32 bits of the play request's user data; lParam: low 32 bits of the size.
#define QEL_VIDEO_DOWNLOAD_SUCCESS 10150
// Posted by the render window on a double click; (0, 0).
#define QEL_VIDEO_WINDOW_DBCLICK 10944
// Posted by the engine to the render window, forwarded to the player window; wParam: event.
#define QEL_VIDEO_PLAYER_EVENT 32769
// Posted by a host to a player window; parameters not consulted.
#define QEL_VIDEO_PLAY_REQUEST 4379
#define QEL_VIDEO_STOP_REQUEST 4380

// Event code of QEL_VIDEO_PLAYER_EVENT: playback reached the end ("END " big-endian).
#define QEL_VIDEO_EVENT_END 0x454E4420

// Audio: posted by the libvlc event handler to the audio window; wParam: the player.
#define QEL_AUDIO_PLAYING 9824
#define QEL_AUDIO_POS_CHANGED 9825
#define QEL_AUDIO_END_REACHED 9826
