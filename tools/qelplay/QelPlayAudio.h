// Plays an audio file or stream through the libvlc audio player.
#pragma once

#include "QelPlayOptions.h"

namespace qelplay {

int PlayAudio(const Options& options);

}  // namespace qelplay
