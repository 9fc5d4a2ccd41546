// The manager on the real engine: a generated MP4 plays to its end, and the log the first
// manager of the process opened records it.
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include "platform/utils/QelFileTestHelpers.h"
#include "support/TestNotifyWindow.h"
#include "support/TestSampleContent.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"
#include "vlc/QelVlc.h"

using namespace std::chrono_literals;

namespace {

const std::map<std::wstring, std::wstring> kNoDigests;

std::string ReadLog() {
    return ReadWholeFile(QelFileUtils::GetAppPath() + L"logs" + kQelPathSeparator + L"QelMediaPlayer.log");
}

// Pause, seek and their limits are the engine's tests and the manager's on the substitute;
// here the manager's start on the real engine, through to the end.
TEST(ManagerPlayback, PlainFileStartsWithItsFactsAndPlaysToItsEnd) {
    if (!QelVlc::Api())
        GTEST_SKIP() << "libvlc is not available here";
    qel::test::TestNotifyWindow window;
    QelVideoPlayerManager manager;
    manager.SetHWnd(window.Handle(), window.Handle());
    manager.Play(qel::test::SampleFile("plain.mp4"), kNoDigests, 0);

    ASSERT_TRUE(window.ReceiveMessage(QEL_VIDEO_STARTED, 5s));
    EXPECT_TRUE(manager.IsOpenFile());
    EXPECT_EQ(manager.GetVideoWidth(), 320);
    EXPECT_EQ(manager.GetVideoHeight(), 240);
    EXPECT_NEAR(static_cast<double>(manager.GetVideoDuration()), 2000.0, 100.0);

    auto end = window.ReceiveMessage(QEL_VIDEO_PLAYER_EVENT, 20s);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->wParam, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
    manager.Stop();
    EXPECT_FALSE(manager.IsOpenFile());
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
