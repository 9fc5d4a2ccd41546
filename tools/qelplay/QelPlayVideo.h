// Plays a video through QelVideoPlayerManager and reports what a person wants to see:
// cached and verified segments, failures by segment, time to start, position, a summary.
#pragma once

#include "QelPlayOptions.h"

namespace qelplay {

int PlayVideo(const Options& options);

}  // namespace qelplay
