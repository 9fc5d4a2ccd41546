// The engine's side of the remote play tests. The same tests run on the real engine
// (libvlc, Linux) and on the substitute engine (both builds); each test program links one
// implementation of these functions.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace qel::test::engine {

// True when the engine decodes: it posts QEL_VIDEO_SEEK_TS after a seek and the end
// of playback. The substitute only records the calls made to it.
bool Renders();

// Forgets the calls made so far (the substitute's record).
void Forget();

// The substitute was opened exactly once since Forget, with this playlist (ANSI code page)
// and this many segments. The real engine keeps no record: playing the video to its end
// is its proof.
::testing::AssertionResult OpenedWith(const std::string& strPlaylistA, std::size_t nSegments);

}  // namespace qel::test::engine
