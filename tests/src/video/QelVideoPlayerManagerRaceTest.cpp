// StartPlay runs on the segment package's worker while the UI thread stops and seeks.
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include <thread>

#include "QelFakeEngine.h"
#include "segment_cache/QelVideoFile.h"

namespace {

class RacingManager : public QelVideoPlayerManager {
public:
    using QelVideoPlayerManager::StartPlay;
};

TEST(ManagerRace, StartPlayAgainstStopAndSeekThousandTimes) {
    qel::fake_engine::Reset();
    qel::fake_engine::ScriptParam(QEL_PARAM_DURATION, 10000);
    RacingManager manager;
    HWND hNone = nullptr;
    QelVideoFile file(&manager, L"clip.mp4", L"clip.mp4", &hNone, {}, 0);
    for (int round = 0; round < 1000; ++round) {
        std::thread worker([&] { manager.StartPlay(&file); });
        manager.Seek(round * 10);
        manager.Stop();
        (void)manager.GetCurPosition();
        (void)manager.IsPlaying();
        worker.join();
        manager.Stop();
        if (round % 100 == 0)
            qel::fake_engine::Reset();
    }
    EXPECT_FALSE(manager.IsOpenFile());
}

}  // namespace
