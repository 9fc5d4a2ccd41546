// The manager on the real engine: a generated MP4 plays to its end, and the log the first
// manager of the process opened records it.
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "support/TestEventually.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSampleContent.h"
#include "support/TestSilentAudio.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;

namespace {

class SilentAudio : public ::testing::Environment {
    void SetUp() override { qel::test::MakeAudioSilent(); }
};
const auto* const g_pSilentAudio = ::testing::AddGlobalTestEnvironment(new SilentAudio);

const std::map<std::wstring, std::wstring> kNoDigests;

std::string ReadLog() {
    const std::wstring strLog = QelFileUtils::GetAppPath() + L"logs" + kQelPathSeparator + L"QelMediaPlayer.log";
    std::ifstream in(QelString::UnicodeToAnsi(strLog), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

using qel::test::Eventually;

TEST(ManagerPlayback, PlainFilePlaysToItsEndWithPauseResumeAndSeek) {
    if (!QelVlc::Api())
        GTEST_SKIP() << "libvlc is not available here";
    qel::test::TestNotifyWindow window;
    QelVideoPlayerManager manager;
    manager.SetHWnd(window.Handle(), window.Handle());
    manager.Play(qel::test::SampleFile("plain.mp4"), kNoDigests, 0);

    auto started = window.ReceiveMessage(QEL_VIDEO_STARTED, 5s);
    ASSERT_TRUE(started);
    EXPECT_TRUE(manager.IsOpenFile());
    EXPECT_EQ(manager.GetVideoWidth(), 320);
    EXPECT_EQ(manager.GetVideoHeight(), 240);
    EXPECT_NEAR(static_cast<double>(manager.GetVideoDuration()), 2000.0, 100.0);

    ASSERT_TRUE(Eventually([&] { return manager.GetCurPosition() > 100; }));
    manager.Pause();
    ASSERT_TRUE(Eventually([&] { return manager.IsPaused(); }));
    const long long llHeld = manager.GetCurPosition();
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(manager.GetCurPosition(), llHeld);
    manager.Seek(1200);
    EXPECT_TRUE(Eventually([&] { return manager.GetCurPosition() >= 1100; }));
    manager.Resume();
    EXPECT_TRUE(manager.IsPlaying());

    auto end = window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 20s);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->wParam, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
    manager.Stop();
    EXPECT_FALSE(manager.IsOpenFile());
}

TEST(ManagerPlayback, MissingFileOpensNothingButStillReportsTheStart) {
    qel::test::TestNotifyWindow window;
    QelVideoPlayerManager manager;
    manager.SetHWnd(window.Handle(), window.Handle());
    manager.Play(qel::test::SampleFile("no-such-file.mp4"), kNoDigests, 0);
    EXPECT_TRUE(window.ReceiveMessage(QEL_VIDEO_STARTED, 5s));
    EXPECT_FALSE(manager.IsOpenFile());
    EXPECT_TRUE(manager.IsPlaying());
    EXPECT_EQ(manager.GetCurPosition(), 0);
    EXPECT_EQ(manager.GetVideoDuration(), 0);
    manager.Pause();
    manager.Seek(10);
    manager.Stop();
}

TEST(ManagerPlayback, TwoManagersWriteToTheFirstOnesLog) {
    // The log folder is shared by every run and program; a name of this run's own is the
    // only line that this test can have written.
    const std::wstring strMissing =
        qel::test::SampleFile("missing-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()) + ".mp4");
    QelVideoPlayerManager first;
    QelVideoPlayerManager second;
    second.Play(strMissing, kNoDigests, 0);
    second.Stop();
    const std::string strLog = ReadLog();
    const std::string strTail = "] Start play video:" + QelString::UnicodeToUtf8(strMissing) + "\r\n";
    const size_t nEnd = strLog.find(strTail);
    ASSERT_NE(nEnd, std::string::npos) << strLog.substr(strLog.size() > 2000 ? strLog.size() - 2000 : 0);
    const std::string strLine = strLog.substr(strLog.rfind('\n', nEnd) + 1, nEnd - strLog.rfind('\n', nEnd));
    EXPECT_NE(strLine.find(" DEBUG ["), std::string::npos) << strLine;
    EXPECT_NE(strLine.find("[QelVideoPlayerManager::StartPlay@"), std::string::npos) << strLine;
}

}  // namespace
