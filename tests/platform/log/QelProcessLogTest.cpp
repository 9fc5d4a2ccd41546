// The process log and QEL_LOG, in an executable of its own: the process log can be opened
// once per process only.
#include "log/QelLog.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/utils/QelFileTestHelpers.h"

namespace logsample {
struct Sample {
    void Report(const char* szUrl, const wchar_t* szPath, long long llSize) {
        QEL_LOG << "Download ts success:" << szUrl << ", size:" << llSize << " path:" << szPath;
    }
};
}  // namespace logsample

namespace {

using logsample::Sample;

TEST(QelProcessLog, FirstOpenWinsAndMacroWritesClassFunctionAndPieces) {
    QelTestTempDir folder;
    ASSERT_TRUE(qel::log::OpenProcessLog(folder / L"first.log"));
    EXPECT_TRUE(qel::log::OpenProcessLog(folder / L"second.log"));
    EXPECT_EQ(ListFolder(folder.Path()), std::set<std::wstring>{L"first.log"});

    Sample().Report("http://h/0.ts", nullptr, 4294967297LL);
    Sample().Report(nullptr, L"caf\u00e9", 0);
    // A 5 MiB URL cannot outgrow the roll size: cut whole characters, the rest counted.
    const std::string strHugeUrl = "http://h/" + std::string(1014, 'a') + "\xC3\xA9" + std::string(5 << 20, 'b');
    Sample().Report(strHugeUrl.c_str(), std::wstring(2000, L'p').c_str(), 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (int i = 0; i < 100; ++i)
                QEL_LOG << "worker " << i;
        });
    for (auto& t : threads)
        t.join();

    const std::string text = ReadWholeFile(folder / L"first.log");
    EXPECT_NE(text.find("] [logsample::Sample::Report@"), std::string::npos) << text.substr(0, 300);
    EXPECT_NE(text.find("] Download ts success:http://h/0.ts, size:4294967297 path:(null)\r\n"), std::string::npos);
    EXPECT_NE(text.find("] Download ts success:(null), size:0 path:caf\xC3\xA9\r\n"), std::string::npos);
    EXPECT_NE(text.find("] Download ts success:http://h/" + std::string(1014, 'a') + "...[" + std::to_string((5 << 20) + 2) +
                        " more bytes], size:1 path:" + std::string(1024, 'p') + "...[976 more bytes]\r\n"),
              std::string::npos);
    std::size_t workerLines = 0;
    for (std::size_t pos = text.find("] worker "); pos != std::string::npos; pos = text.find("] worker ", pos + 1))
        ++workerLines;
    EXPECT_EQ(workerLines, 400u);
}

}  // namespace
