// Linked into every test program that plays through libvlc (the QelTestSilentAudio object
// library): its sound is silenced once, before the first test.
#include "support/TestSilentAudio.h"

#include <gtest/gtest.h>

namespace {

class SilentAudio : public ::testing::Environment {
    void SetUp() override { qel::test::MakeAudioSilent(); }
};

const auto* const g_pSilentAudio = ::testing::AddGlobalTestEnvironment(new SilentAudio);

}  // namespace
