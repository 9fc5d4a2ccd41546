// The manager on the real engine: the log the first manager of the process opened records
// what a later one does.
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include "platform/utils/QelFileTestHelpers.h"
#include "support/TestSampleContent.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"

namespace {

const std::map<std::wstring, std::wstring> kNoDigests;

std::string ReadLog() {
    return ReadWholeFile(QelFileUtils::GetAppPath() + L"logs" + kQelPathSeparator + L"QelMediaPlayer.log");
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
