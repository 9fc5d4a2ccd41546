// Resource identifiers of the control's module (QelMediaPlayer.rc).
#pragma once

#define IDS_PROJNAME 100
#define IDR_QELMEDIAPLAYER 101
#define IDB_QELMEDIAPLAYERCTRL 106
#define IDR_QELMEDIAPLAYERCTRL 107
