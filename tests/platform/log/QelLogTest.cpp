#include "log/QelLog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

class ScratchFolder {
public:
    explicit ScratchFolder(const std::string& name)
        : m_path(fs::temp_directory_path() / ("qel-log-" + name + "-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()))) {
        fs::remove_all(m_path);
        fs::create_directories(m_path);
    }
    ~ScratchFolder() {
        std::error_code ec;
        fs::remove_all(m_path, ec);
    }
    const fs::path& Path() const { return m_path; }

private:
    fs::path m_path;
};

std::string ReadAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<fs::path> LogFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder))
        files.push_back(entry.path());
    return files;
}

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

TEST(QelLogRecord, WritesNothingAndCostsNothingWithoutProcessLog) {
    // This executable never opens the process log: records are dropped silently.
    ASSERT_FALSE(qel::log::IsProcessLogOpen());
    QEL_LOG << "dropped " << 42 << static_cast<const char*>(nullptr);
}

TEST(QelRollingLog, WritesLayoutWithCrLfUtf8AndNullAsText) {
    ScratchFolder folder("layout");
    const fs::path file = folder.Path() / "QelMediaPlayer.log";
    {
        qel::log::QelRollingLog log(file.wstring());
        ASSERT_TRUE(log.IsOpen());
        log.Write("QelTS::DownloadTs", 57, "Download ts success:http://h/0.ts, size:1234");
        log.Write("QelVideoFile::DownloadM3u8", 9, "Download m3u8 failed, http://h/v\xC3\xA9\xE2\x82\xAC.m3u8");
    }
    const std::string text = ReadAll(file);
    const std::regex line(
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} DEBUG \[\d+\] \[QelTS::DownloadTs@57\] Download ts success:http://h/0\.ts, size:1234\r\n)"
        R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} DEBUG \[\d+\] \[QelVideoFile::DownloadM3u8@9\] Download m3u8 failed, http://h/v\xC3\xA9\xE2\x82\xAC\.m3u8\r\n)");
    EXPECT_TRUE(std::regex_match(text, line)) << text;
}

TEST(QelRollingLog, UnwritableFolderGivesClosedLog) {
    ScratchFolder folder("closed");
    const fs::path blocker = folder.Path() / "file";
    std::ofstream(blocker) << "x";
    qel::log::QelRollingLog log((blocker / "sub" / "a.log").wstring());
    EXPECT_FALSE(log.IsOpen());
    log.Write("f", 1, "ignored");  // must not crash
    qel::log::QelRollingLog empty(L"");
    EXPECT_FALSE(empty.IsOpen());
}

TEST(QelRollingLog, TwelveMiBRollIntoAtMostTenFilesOfAtMostFiveMiB) {
    ScratchFolder folder("roll");
    const fs::path file = folder.Path() / "QelMediaPlayer.log";
    const std::string message(200, 'x');
    std::size_t written = 0;
    {
        qel::log::QelRollingLog log(file.wstring());
        ASSERT_TRUE(log.IsOpen());
        for (int i = 0; written < 12u * 1024 * 1024; ++i) {
            log.Write("QelTS::DownloadTs", i, message);
            written += message.size() + 64;
        }
    }
    const auto files = LogFiles(folder.Path());
    EXPECT_GE(files.size(), 3u);
    EXPECT_LE(files.size(), 10u);
    EXPECT_TRUE(fs::exists(file));
    for (const auto& f : files) {
        EXPECT_LE(fs::file_size(f), 0x500000u) << f;
        const std::string text = ReadAll(f);
        ASSERT_FALSE(text.empty());
        EXPECT_EQ(text.substr(text.size() - 2), "\r\n") << f;
        // Every line feed is part of a CR LF pair.
        std::size_t lf = 0, crlf = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\n') {
                ++lf;
                crlf += (i > 0 && text[i - 1] == '\r');
            }
        }
        EXPECT_EQ(lf, crlf) << f;
    }
}

TEST(QelRollingLog, KeepsOnlyTheNewestTenFiles) {
    ScratchFolder folder("keep");
    const fs::path file = folder.Path() / "small.log";
    {
        qel::log::QelRollingLog log(file.wstring(), 1024, 10);
        for (int i = 0; i < 2000; ++i)
            log.Write("F::G", i, "line " + std::to_string(i));
    }
    const auto files = LogFiles(folder.Path());
    EXPECT_EQ(files.size(), 10u);
    EXPECT_NE(ReadAll(file).find("line 1999\r\n"), std::string::npos);
}

}  // namespace
