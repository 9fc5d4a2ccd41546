#include "http/QelHttp.h"
#include "qelserve/QelLoopbackServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

namespace fs = std::filesystem;
using qel::TestHttpFault;
using qel::TestHttpServer;

namespace {

constexpr std::size_t kFileSize = 256 * 1024;
// Generous: only there to turn a hang into a failure, never to judge speed.
constexpr auto kHangBound = std::chrono::seconds(30);

std::string MakeContent(std::size_t nSize, unsigned nSeed)
{
    std::mt19937 random(nSeed);
    std::string strContent(nSize, '\0');
    for (char& c : strContent)
        c = static_cast<char>(random() & 0xFF);
    return strContent;
}

std::string ReadFile(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void WriteFile(const fs::path& path, const std::string& strContent)
{
    std::ofstream file(path, std::ios::binary);
    file << strContent;
}

// The path as QelHttp takes it: in the ANSI code page (UTF-8 on Linux). Empty when the
// code page cannot represent it.
std::string AnsiPath(const fs::path& path)
{
#ifdef _WIN32
    const std::wstring strWide = path.wstring();
    BOOL bLossy = FALSE;
    int nLen = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, strWide.c_str(), -1, nullptr, 0, nullptr, &bLossy);
    if (nLen <= 0 || bLossy)
        return {};
    std::string strAnsi(static_cast<std::size_t>(nLen), '\0');
    WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, strWide.c_str(), -1, strAnsi.data(), nLen, nullptr, nullptr);
    strAnsi.resize(static_cast<std::size_t>(nLen - 1));
    return strAnsi;
#else
    return path.string();
#endif
}

std::vector<std::string> FolderEntries(const fs::path& folder)
{
    std::vector<std::string> vecNames;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folder, ec))
        vecNames.push_back(entry.path().filename().u8string());
    std::sort(vecNames.begin(), vecNames.end());
    return vecNames;
}

// A scratch folder per test, with a server serving its "www" subfolder.
class QelHttpTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        static std::atomic<int> s_nCounter{0};
        const auto* pInfo = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string strName = std::string(pInfo->test_suite_name()) + "_" + pInfo->name();
        std::replace_if(strName.begin(), strName.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
        m_pathRoot = fs::temp_directory_path() / ("qelhttp-" + std::to_string(s_nCounter++) + "-" + strName);
        fs::remove_all(m_pathRoot);
        fs::create_directories(m_pathRoot / "www");
        fs::create_directories(m_pathRoot / "out");
        m_strContent = MakeContent(kFileSize, 7);
        WriteFile(m_pathRoot / "www" / "file.bin", m_strContent);
        m_pServer = std::make_unique<TestHttpServer>(m_pathRoot / "www");
        ASSERT_TRUE(m_pServer->IsRunning());
    }

    void TearDown() override
    {
        m_pServer.reset();
        std::error_code ec;
        fs::remove_all(m_pathRoot, ec);
    }

    fs::path Out(const std::string& strName) const { return m_pathRoot / "out" / strName; }

    fs::path m_pathRoot;
    std::string m_strContent;
    std::unique_ptr<TestHttpServer> m_pServer;
};

// ---- the fault matrix ------------------------------------------------------------------

enum class Outcome { Stored, StoredButDifferent, Failed };

struct FaultCase {
    const char* pszName;
    std::string strRequestPath;  // the path asked for
    TestHttpFault fault;          // set on that path
    bool bFollowRedirects;
    long nStallTimeoutSec;
    Outcome outcome;
    std::size_t nExpectedRequests;
};

std::ostream& operator<<(std::ostream& out, const FaultCase& faultCase)
{
    return out << faultCase.pszName;
}

TestHttpFault DropFirst(int nTimes)
{
    TestHttpFault fault = TestHttpFault::Drop();
    fault.nTimes = nTimes;
    return fault;
}

const FaultCase kFaultCases[] = {
    {"Ok", "/file.bin", {}, true, 2, Outcome::Stored, 1},
    {"NotFound", "/file.bin", TestHttpFault::Status(404), true, 2, Outcome::Failed, 1},
    {"ServerError", "/file.bin", TestHttpFault::Status(500), true, 2, Outcome::Failed, 1},
    {"MissingOnServer", "/nothing.bin", {}, true, 2, Outcome::Failed, 1},
    {"ResetMidBody", "/file.bin", TestHttpFault::ResetAfter(100000), true, 2, Outcome::Failed, 1},
    {"ResetBeforeBody", "/file.bin", TestHttpFault::ResetAfter(0), true, 2, Outcome::Failed, 1},
    {"ShortBody", "/file.bin", TestHttpFault::ShortBody(1000), true, 2, Outcome::Failed, 1},
    {"StallPastTimeout", "/file.bin", TestHttpFault::Stall(64 * 1024, 8000), true, 1, Outcome::Failed, 1},
    {"StallAtStartPastTimeout", "/file.bin", TestHttpFault::Stall(0, 8000), true, 1, Outcome::Failed, 1},
    {"StallWithinTimeout", "/file.bin", TestHttpFault::Stall(64 * 1024, 300), true, 3, Outcome::Stored, 1},
    {"Throttled", "/file.bin", TestHttpFault::Throttle(1024 * 1024), true, 2, Outcome::Stored, 1},
    {"RedirectFollowed", "/moved.bin", TestHttpFault::Redirect("/file.bin"), true, 2, Outcome::Stored, 2},
    {"RedirectNotFollowed", "/moved.bin", TestHttpFault::Redirect("/file.bin"), false, 2, Outcome::Failed, 1},
    {"RedirectToMissing", "/moved.bin", TestHttpFault::Redirect("/nothing.bin"), true, 2, Outcome::Failed, 2},
    {"RedirectLoop", "/loop.bin", TestHttpFault::Redirect("/loop.bin"), true, 2, Outcome::Failed, 0},
    {"WrongBytes", "/file.bin", TestHttpFault::WrongBytes(), true, 2, Outcome::StoredButDifferent, 1},
    {"DroppedOnceThenServed", "/file.bin", DropFirst(1), true, 2, Outcome::Stored, 2},
    {"AlwaysDropped", "/file.bin", DropFirst(0), true, 2, Outcome::Failed, 4},  // 1 + 3 retries
};

class QelHttpFaultMatrix : public QelHttpTest, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(QelHttpFaultMatrix, GivesTheExpectedResultAndLeavesNothingOnFailure)
{
    const FaultCase& faultCase = GetParam();
    if (!faultCase.fault.Describe().empty())
        m_pServer->SetFault(faultCase.strRequestPath, faultCase.fault);
    const fs::path target = Out("cache") / "segment.ts";

    QelHttp http(faultCase.bFollowRedirects, 3, 10);
    const auto tpStart = std::chrono::steady_clock::now();
    const bool bResult =
        http.DoHttpGetFile(m_pServer->Url(faultCase.strRequestPath), AnsiPath(target), true, faultCase.nStallTimeoutSec);
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kHangBound);

    switch (faultCase.outcome) {
    case Outcome::Stored:
        ASSERT_TRUE(bResult);
        EXPECT_TRUE(ReadFile(target) == m_strContent);
        break;
    case Outcome::StoredButDifferent:  // telling wrong bytes apart is the caller's digest's job
        ASSERT_TRUE(bResult);
        EXPECT_EQ(fs::file_size(target), kFileSize);
        EXPECT_FALSE(ReadFile(target) == m_strContent);
        break;
    case Outcome::Failed:
        EXPECT_FALSE(bResult);
        break;
    }
    // No temporary is left behind either way.
    const std::vector<std::string> vecExpected =
        faultCase.outcome == Outcome::Failed ? std::vector<std::string>{} : std::vector<std::string>{"segment.ts"};
    EXPECT_EQ(FolderEntries(target.parent_path()), vecExpected);
    if (faultCase.nExpectedRequests != 0) {
        EXPECT_EQ(m_pServer->RequestCount(), faultCase.nExpectedRequests);
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, QelHttpFaultMatrix, ::testing::ValuesIn(kFaultCases),
                         [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.pszName); });

// ---- bad input -------------------------------------------------------------------------

struct BadUrl {
    const char* pszName;
    std::string strUrl;  // "PORT" is replaced by the server's port
};

std::ostream& operator<<(std::ostream& out, const BadUrl& badUrl)
{
    return out << badUrl.pszName;
}

class QelHttpBadUrl : public QelHttpTest, public ::testing::WithParamInterface<BadUrl> {};

TEST_P(QelHttpBadUrl, FailsWithoutWritingOrAsking)
{
    std::string strUrl = GetParam().strUrl;
    const auto nPos = strUrl.find("PORT");
    if (nPos != std::string::npos)
        strUrl.replace(nPos, 4, std::to_string(m_pServer->Port()));
    QelHttp http;
    EXPECT_FALSE(http.DoHttpGetFile(strUrl, AnsiPath(Out("x.bin")), true, 2));
    EXPECT_TRUE(FolderEntries(m_pathRoot / "out").empty());
    EXPECT_EQ(m_pServer->RequestCount(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Urls, QelHttpBadUrl,
                         ::testing::Values(BadUrl{"Empty", ""}, BadUrl{"SchemeOnly", "http://"},
                                           BadUrl{"NoScheme", "127.0.0.1:PORT/file.bin"},
                                           BadUrl{"Ftp", "ftp://127.0.0.1:PORT/file.bin"},
                                           BadUrl{"File", "file:///etc/hostname"},
                                           BadUrl{"Garbage", "not a url at all"}),
                         [](const ::testing::TestParamInfo<BadUrl>& info) { return std::string(info.param.pszName); });

TEST_F(QelHttpTest, ConnectionRefusedFailsAfterItsRetries)
{
    const unsigned short nPort = qel::ClosedLoopbackPort();
    ASSERT_NE(nPort, 0);
    const std::string strUrl = "http://127.0.0.1:" + std::to_string(nPort) + "/file.bin";
    for (unsigned nRetries : {0u, 3u}) {
        QelHttp http(true, nRetries, 2);
        const auto tpStart = std::chrono::steady_clock::now();
        EXPECT_FALSE(http.DoHttpGetFile(strUrl, AnsiPath(Out("refused.bin")), true, 2));
        EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kHangBound);
        EXPECT_FALSE(fs::exists(Out("refused.bin")));
    }
}

TEST_F(QelHttpTest, EmptyPathFails)
{
    QelHttp http;
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), "", true, 2));
}

TEST_F(QelHttpTest, UnwritableFolderFailsAndCreatesNothing)
{
    // A folder cannot be made below a regular file, whoever runs the test.
    WriteFile(Out("plain-file"), "x");
    const fs::path target = Out("plain-file") / "sub" / "x.bin";
    QelHttp http;
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(target), true, 2));
    EXPECT_EQ(FolderEntries(m_pathRoot / "out"), std::vector<std::string>{"plain-file"});
    EXPECT_EQ(ReadFile(Out("plain-file")), "x");
}

TEST_F(QelHttpTest, MissingFoldersAreCreatedOnlyWhenAsked)
{
    const fs::path target = Out("a") / "b" / "c" / "x.bin";
    QelHttp http;
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(target), false, 2));
    EXPECT_FALSE(fs::exists(Out("a")));
    EXPECT_EQ(m_pServer->RequestCount(), 0u);

    ASSERT_TRUE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(target), true, 2));
    EXPECT_TRUE(ReadFile(target) == m_strContent);
}

TEST_F(QelHttpTest, ExistingFileIsReplacedOnSuccessAndRemovedOnFailure)
{
    const fs::path target = Out("x.bin");
    WriteFile(target, "old content");
    QelHttp http;
    ASSERT_TRUE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(target), true, 2));
    EXPECT_TRUE(ReadFile(target) == m_strContent);

    // A failed download must not leave the previous body looking like a fresh one.
    m_pServer->SetFault("file.bin", TestHttpFault::ResetAfter(1000));
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(target), true, 2));
    EXPECT_TRUE(FolderEntries(m_pathRoot / "out").empty());
}

TEST_F(QelHttpTest, FolderAtTheTargetPathFailsAndStays)
{
    fs::create_directories(Out("dir.bin") / "inside");
    QelHttp http;
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("dir.bin")), true, 2));
    EXPECT_TRUE(fs::is_directory(Out("dir.bin") / "inside"));
    EXPECT_EQ(FolderEntries(m_pathRoot / "out"), std::vector<std::string>{"dir.bin"});
}

TEST_F(QelHttpTest, EmptyBodyGivesAnEmptyFile)
{
    m_pServer->AddBody("/empty.m3u8", "");
    QelHttp http;
    ASSERT_TRUE(http.DoHttpGetFile(m_pServer->Url("empty.m3u8"), AnsiPath(Out("empty.m3u8")), true, 2));
    EXPECT_TRUE(fs::exists(Out("empty.m3u8")));
    EXPECT_EQ(fs::file_size(Out("empty.m3u8")), 0u);
}

TEST_F(QelHttpTest, NonAsciiNamesOnBothSides)
{
    const fs::path target = Out(u8"vid\u00e9o") / u8"s\u00e9gment.ts";
    const std::string strAnsi = AnsiPath(target);
    if (strAnsi.empty())
        GTEST_SKIP() << "the ANSI code page cannot name the target";
    m_pServer->AddBody(u8"/vid\u00e9o/s\u00e9gment.ts", m_strContent);
    QelHttp http;
    ASSERT_TRUE(http.DoHttpGetFile(m_pServer->Url("vid%C3%A9o/s%C3%A9gment.ts"), strAnsi, true, 2));
    EXPECT_TRUE(ReadFile(target) == m_strContent);
}

// ---- progress and cancel ---------------------------------------------------------------

class RecordingCallback : public QelHttpDownloadProgressCallback {
public:
    explicit RecordingCallback(bool bAbortHalfway) : m_bAbortHalfway(bAbortHalfway) {}

    bool OnDownloadProgress(long long llDownloaded, long long llTotal, void* pUser) override
    {
        m_pUser = pUser;
        m_llMaxDownloaded = std::max(m_llMaxDownloaded, llDownloaded);
        if (llTotal > 0)
            m_llTotal = llTotal;
        ++m_nCalls;
        return m_bAbortHalfway && llTotal > 0 && llDownloaded >= llTotal / 2;
    }

    bool m_bAbortHalfway;
    void* m_pUser = nullptr;
    long long m_llMaxDownloaded = 0;
    long long m_llTotal = -1;
    int m_nCalls = 0;
};

TEST_F(QelHttpTest, ProgressCallbackAbortsHalfwayThroughAThrottledBody)
{
    const std::string strLarge = MakeContent(2 * 1024 * 1024, 11);
    m_pServer->AddBody("/large.ts", strLarge);
    m_pServer->SetFault("/large.ts", TestHttpFault::Throttle(512 * 1024));  // about 4 s in all

    RecordingCallback callback(true);
    int nUser = 0;
    QelHttp http(true, 3, 10);
    http.SetDownloadProgressCallback(&callback, &nUser);
    const auto tpStart = std::chrono::steady_clock::now();
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("large.ts"), AnsiPath(Out("large.ts")), true, 10));
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kHangBound);

    EXPECT_EQ(callback.m_pUser, &nUser);
    EXPECT_EQ(callback.m_llTotal, static_cast<long long>(strLarge.size()));
    EXPECT_GE(callback.m_llMaxDownloaded, callback.m_llTotal / 2);
    EXPECT_LT(callback.m_llMaxDownloaded, callback.m_llTotal);
    EXPECT_TRUE(FolderEntries(m_pathRoot / "out").empty());
    EXPECT_EQ(m_pServer->RequestCount(), 1u);  // a cancel is never retried
}

TEST_F(QelHttpTest, ProgressReportsTheAnnouncedSize)
{
    m_pServer->SetFault("/file.bin", TestHttpFault::Throttle(512 * 1024));
    RecordingCallback callback(false);
    QelHttp http;
    http.SetDownloadProgressCallback(&callback, nullptr);
    ASSERT_TRUE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("x.bin")), true, 2));
    EXPECT_GT(callback.m_nCalls, 1);
    EXPECT_EQ(callback.m_llTotal, static_cast<long long>(kFileSize));

    // Without a callback the client works the same.
    http.SetDownloadProgressCallback(nullptr, nullptr);
    ASSERT_TRUE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("y.bin")), true, 2));
}

// ---- abort and size limit --------------------------------------------------------------

// A stall far longer than the bound below: only the abort can end the transfer in time.
class QelHttpAbort : public QelHttpTest, public ::testing::WithParamInterface<long long> {};

TEST_P(QelHttpAbort, FromAnotherThreadEndsAStalledTransferAtOnceAndEveryLaterOne)
{
    m_pServer->SetFault("/file.bin", TestHttpFault::Stall(GetParam(), 60000));
    QelHttp http(true, 3, 30);
    std::thread aborter([&] {
        m_pServer->WaitForRequests(1, kHangBound);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // into the stall
        http.Abort();
    });
    const auto tpStart = std::chrono::steady_clock::now();
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("x.bin")), true, 30));
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, std::chrono::seconds(8));
    aborter.join();

    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("y.bin")), true, 30));
    EXPECT_EQ(m_pServer->RequestCount(), 1u);
    EXPECT_TRUE(FolderEntries(m_pathRoot / "out").empty());
}

INSTANTIATE_TEST_SUITE_P(StalledAt, QelHttpAbort, ::testing::Values(0, 64 * 1024),
                         [](const ::testing::TestParamInfo<long long>& info) {
                             return info.param == 0 ? std::string("TheHead") : std::string("MidBody");
                         });

TEST_F(QelHttpTest, ABodyPastTheSizeLimitFailsAndLeavesNothing)
{
    QelHttp http;
    http.SetMaxBodyBytes(static_cast<long long>(kFileSize));
    EXPECT_TRUE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("fits.bin")), true, 2));
    http.SetMaxBodyBytes(static_cast<long long>(kFileSize) - 1);
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("announced.bin")), true, 2));

    m_pServer->SetFault("/file.bin", TestHttpFault::Endless());
    http.SetMaxBodyBytes(4 * static_cast<long long>(kFileSize));
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("endless.bin")), true, 2));
    EXPECT_EQ(FolderEntries(m_pathRoot / "out"), std::vector<std::string>{"fits.bin"});
}

// ---- threads ---------------------------------------------------------------------------

TEST_F(QelHttpTest, ClientsOnSeveralThreadsAtOnce)
{
    // As the segment downloaders use it: a client per thread, all fetching at once, the
    // clients destroyed by another thread once their transfers returned.
    constexpr int kClients = 4;
    std::vector<std::string> vecContent;
    for (int i = 0; i < kClients; ++i) {
        vecContent.push_back(MakeContent(kFileSize + static_cast<std::size_t>(i), 100u + static_cast<unsigned>(i)));
        m_pServer->AddBody("/seg" + std::to_string(i) + ".ts", vecContent.back());
        m_pServer->SetFault("/seg" + std::to_string(i) + ".ts", TestHttpFault::Throttle(1024 * 1024));
    }
    m_pServer->SetFault("/seg3.ts", TestHttpFault::ResetAfter(5000));

    std::vector<std::unique_ptr<QelHttp>> vecClients;
    std::vector<char> vecResults(kClients, 0);
    std::vector<std::thread> vecThreads;
    for (int i = 0; i < kClients; ++i)
        vecClients.push_back(std::make_unique<QelHttp>(true, 3, 10));
    for (int i = 0; i < kClients; ++i) {
        vecThreads.emplace_back([&, i] {
            const std::string strName = "seg" + std::to_string(i) + ".ts";
            vecResults[static_cast<std::size_t>(i)] =
                vecClients[static_cast<std::size_t>(i)]->DoHttpGetFile(m_pServer->Url(strName), AnsiPath(Out(strName)), true, 5);
        });
    }
    for (auto& thread : vecThreads)
        thread.join();
    vecClients.clear();

    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(vecResults[static_cast<std::size_t>(i)]) << i;
        EXPECT_TRUE(ReadFile(Out("seg" + std::to_string(i) + ".ts")) == vecContent[static_cast<std::size_t>(i)]) << i;
    }
    EXPECT_FALSE(vecResults[3]);
    EXPECT_EQ(FolderEntries(m_pathRoot / "out"), (std::vector<std::string>{"seg0.ts", "seg1.ts", "seg2.ts"}));
}

// ---- the test server itself ------------------------------------------------------------

TEST_F(QelHttpTest, ServerRecordsRequestsInOrderWithTheirFaults)
{
    TestHttpFault fault = TestHttpFault::Status(503);
    fault.nTimes = 1;
    m_pServer->SetFault("/file.bin", fault);
    EXPECT_FALSE(m_pServer->WaitForRequests(1, std::chrono::milliseconds(50)));

    QelHttp http(true, 0, 2);
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), AnsiPath(Out("a.bin")), true, 2));
    EXPECT_TRUE(http.DoHttpGetFile(m_pServer->Url("/file.bin?v=2"), AnsiPath(Out("b.bin")), true, 2));
    ASSERT_TRUE(m_pServer->WaitForRequests(2, std::chrono::seconds(5)));

    const auto vecRequests = m_pServer->Requests();
    ASSERT_EQ(vecRequests.size(), 2u);
    EXPECT_EQ(vecRequests[0].strPath, "/file.bin");
    EXPECT_EQ(vecRequests[0].strFault, "status 503");
    EXPECT_EQ(vecRequests[1].strPath, "/file.bin");
    EXPECT_EQ(vecRequests[1].strFault, "");
    EXPECT_LE(vecRequests[0].tpTime, vecRequests[1].tpTime);

    m_pServer->ClearRequests();
    EXPECT_EQ(m_pServer->RequestCount(), 0u);
}

TEST_F(QelHttpTest, ServerStopsPromptlyWhileAClientIsStalled)
{
    m_pServer->SetFault("/file.bin", TestHttpFault::Stall(1000, 60000));
    const std::string strUrl = m_pServer->Url("file.bin");
    const std::string strPath = AnsiPath(Out("x.bin"));
    std::thread client([strUrl, strPath] {
        QelHttp http;
        EXPECT_FALSE(http.DoHttpGetFile(strUrl, strPath, true, 20));
    });
    ASSERT_TRUE(m_pServer->WaitForRequests(1, std::chrono::seconds(10)));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto tpStart = std::chrono::steady_clock::now();
    m_pServer.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kHangBound);
    client.join();
    EXPECT_FALSE(fs::exists(Out("x.bin")));
}

}  // namespace
