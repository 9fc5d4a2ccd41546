// A host's view: the manager is used through the shared library's exports only.
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

namespace {

TEST(QelMediaPlayerLibrary, ExportsTheVideoPlayerManager) {
    QelVideoPlayerManager manager;
    EXPECT_TRUE(manager.Play(L"no-such-file.mp4", {}, 0));
    EXPECT_FALSE(manager.IsOpenFile());
    manager.SetVideoSpeed(10);
    manager.Seek(100);
    QelVideoPlayerManager copy = manager;
    copy.Stop();
    manager.Stop();
    EXPECT_EQ(manager.GetVideoDuration(), 0);
}

}  // namespace
