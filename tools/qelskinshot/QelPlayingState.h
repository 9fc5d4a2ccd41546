// What a player looks like a third of the way into its media: positions and time texts
// set, the pause button in place of play, chapter dots on the video slider. Only the
// controls the skin has are touched; the players' own control names find them.
#pragma once

#include "uilib/UiLib.h"

void QelShowPlayingState(UiLib::CPaintManagerUI& pm);
