// Makes libvlc's sound silent for the test process, on machines with or without a sound
// card: PulseAudio is pointed at nothing, so libvlc falls back to ALSA, whose default
// device becomes ALSA's null sink. This configures the test machine, never the component.
// Call it before the first libvlc instance is created. Nothing to do on Windows.
#pragma once

namespace qel::test {

void MakeAudioSilent();

}  // namespace qel::test
