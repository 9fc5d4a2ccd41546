// The remote play tests on the real engine: libvlc decodes the cached segments (no picture
// is shown and no sound is heard), posts a seek's segment request and the end of playback.
#include "QelRemotePlayEngine.h"

#include "support/TestSilentAudio.h"

// Under ThreadSanitizer: libvlc's core frees pictures that ffmpeg's decoder threads had it
// allocate, after a hand-off made with ffmpeg's own atomics, which the uninstrumented
// libraries hide; a restart or stop while decoding shows it as a race inside libvlccore.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libvlccore.so\n";
}

namespace qel::test::engine {

namespace {

class SilentAudio : public ::testing::Environment {
    void SetUp() override { MakeAudioSilent(); }
};
const auto* const g_pSilentAudio = ::testing::AddGlobalTestEnvironment(new SilentAudio);

}  // namespace

bool Renders() {
    return true;
}

void Forget() {}

// The engine keeps no record; playing the video to its end is its proof.
::testing::AssertionResult OpenedOnceWith(const std::string&, std::size_t) {
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult NeverOpened() {
    return ::testing::AssertionSuccess();
}

}  // namespace qel::test::engine
