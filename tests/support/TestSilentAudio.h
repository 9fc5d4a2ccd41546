// Makes libvlc's sound silent for the test process, on machines with or without a sound
// card: PulseAudio is pointed at nothing, so libvlc falls back to ALSA, whose default
// device becomes ALSA's null sink. This configures the test machine, never the component.
// Call it before the first libvlc instance is created, or link QelTestSilentAudio, which
// does so before a test program's first test. Nothing to do on Windows.
#pragma once

#ifndef _WIN32
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#endif

namespace qel::test {

inline void MakeAudioSilent() {
#ifndef _WIN32
    namespace fs = std::filesystem;
    const fs::path pathConf = fs::temp_directory_path() / ("qel-asound-null-" + std::to_string(getpid()) + ".conf");
    std::ofstream(pathConf) << "pcm.!default { type null }\n";
    std::string strAlsaPath = pathConf.string();
    if (fs::exists("/usr/share/alsa/alsa.conf"))
        strAlsaPath = "/usr/share/alsa/alsa.conf:" + strAlsaPath;
    setenv("ALSA_CONFIG_PATH", strAlsaPath.c_str(), 1);
    setenv("PULSE_SERVER", "unix:/nonexistent/qel-test", 1);
#endif
}

}  // namespace qel::test
