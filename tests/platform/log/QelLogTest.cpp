// The rolling log on real files: the line layout, a log that cannot open, rolling and
// keeping, and the function names QEL_LOG writes.
#include "log/QelLog.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "platform/utils/QelFileTestHelpers.h"

namespace {

struct FunctionNameCase {
    const char* pretty;
    const char* expected;
};

class ShortFunctionNameTest : public ::testing::TestWithParam<FunctionNameCase> {};

TEST_P(ShortFunctionNameTest, KeepsClassAndFunctionOnly) {
    EXPECT_EQ(qel::log::ShortFunctionName(GetParam().pretty), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Signatures, ShortFunctionNameTest,
    ::testing::Values(FunctionNameCase{"void QelTS::DownloadTs(const QelTSItem&)", "QelTS::DownloadTs"},
                      FunctionNameCase{"QelTS::QelTS(QelTS*, QelTSPackage*, HWND__**, bool, long long int)", "QelTS::QelTS"},
                      FunctionNameCase{"bool UiLib::QelSliderUI::DoEvent(UiLib::TEventUI&) const", "UiLib::QelSliderUI::DoEvent"},
                      FunctionNameCase{"std::vector<std::pair<int, int> > Foo::Bar(int (*)(int))", "Foo::Bar"},
                      FunctionNameCase{"void QelTS::SetTSItems(const std::vector<QelTSItem>&, int)::<lambda(void*)>",
                                       "QelTS::SetTSItems"},
                      FunctionNameCase{"int main()", "main"},
                      FunctionNameCase{"bool Foo::operator==(const Foo&) const", "Foo::operator=="},
                      FunctionNameCase{"QelTS::DownloadTs", "QelTS::DownloadTs"}));

TEST(QelRollingLog, WritesLayoutWithCrLfUtf8) {
    QelTestTempDir folder;
    {
        qel::log::QelRollingLog log(folder / L"QelMediaPlayer.log");
        ASSERT_TRUE(log.IsOpen());
        log.Write("QelTS::DownloadTs", 57, "Download ts success:http://h/0.ts, size:1234");
        log.Write("QelVideoFile::DownloadM3u8", 9, "Download m3u8 failed, http://h/v\xC3\xA9\xE2\x82\xAC.m3u8");
    }
    const std::string text = ReadWholeFile(folder / L"QelMediaPlayer.log");
    const std::regex line(
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} DEBUG \[\d+\] \[QelTS::DownloadTs@57\] Download ts success:http://h/0\.ts, size:1234\r\n)"
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} DEBUG \[\d+\] \[QelVideoFile::DownloadM3u8@9\] Download m3u8 failed, http://h/v\xC3\xA9\xE2\x82\xAC\.m3u8\r\n)");
    EXPECT_TRUE(std::regex_match(text, line)) << text;
}

TEST(QelRollingLog, UnwritableFolderGivesClosedLog) {
    QelTestTempDir folder;
    ASSERT_TRUE(WriteWholeFile(folder / L"file", "x"));
    qel::log::QelRollingLog log(folder / L"file/sub/a.log");
    EXPECT_FALSE(log.IsOpen());
    log.Write("f", 1, "ignored");  // must not crash
    EXPECT_FALSE(qel::log::QelRollingLog(L"").IsOpen());
}

TEST(QelRollingLog, TwelveMiBRollIntoFilesOfAtMostFiveMiBEndingWithCrLf) {
    QelTestTempDir folder;
    const std::string message(200, 'x');
    {
        qel::log::QelRollingLog log(folder / L"QelMediaPlayer.log");
        ASSERT_TRUE(log.IsOpen());
        for (std::size_t i = 0, written = 0; written < 12u * 1024 * 1024; ++i, written += message.size() + 64)
            log.Write("QelTS::DownloadTs", static_cast<int>(i), message);
    }
    const auto setFiles = ListFolder(folder.Path());
    EXPECT_EQ(setFiles.size(), 3u);
    EXPECT_EQ(setFiles.count(L"QelMediaPlayer.log"), 1u);
    for (const std::wstring& strName : setFiles) {
        const std::string text = ReadWholeFile(folder / strName);
        EXPECT_LE(text.size(), 0x500000u);
        EXPECT_EQ(text.substr(text.size() - 2), "\r\n");
        std::size_t nBareLineFeeds = 0;
        for (std::size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 1))
            nBareLineFeeds += i == 0 || text[i - 1] != '\r';
        EXPECT_EQ(nBareLineFeeds, 0u);
    }
}

TEST(QelRollingLog, KeepsOnlyTheNewestTenFiles) {
    QelTestTempDir folder;
    {
        qel::log::QelRollingLog log(folder / L"small.log", 1024, 10);
        for (int i = 0; i < 2000; ++i)
            log.Write("F::G", i, "line " + std::to_string(i));
    }
    EXPECT_EQ(ListFolder(folder.Path()).size(), 10u);
    EXPECT_NE(ReadWholeFile(folder / L"small.log").find("line 1999\r\n"), std::string::npos);
}

}  // namespace
