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

// The engine was opened exactly once since Forget, with this playlist (ANSI code page)
// and this many segments. Only the substitute can tell; the real engine shows it by
// playing the video to its end.
::testing::AssertionResult OpenedOnceWith(const std::string& strPlaylistA, std::size_t nSegments);

// Nothing was opened since Forget.
::testing::AssertionResult NeverOpened();

}  // namespace qel::test::engine
