// QelHttp against the loopback server's faults: what each gives, what it leaves on disk,
// progress, abort and the size limit. Aborts from another thread and clients on several
// threads at once are the segment downloaders' tests, which use QelHttp that way.
#include "http/QelHttp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

#include "platform/utils/QelFileTestHelpers.h"
#include "qelserve/QelLoopbackServer.h"
#include "utils/QelString.h"

using qel::TestHttpFault;
using qel::TestHttpServer;

namespace {

constexpr std::size_t kFileSize = 256 * 1024;
// Only there to turn a hang into a failure, never to judge speed.
constexpr auto kHangBound = std::chrono::seconds(30);

std::string MakeContent(std::size_t nSize, unsigned nSeed) {
    std::mt19937 random(nSeed);
    std::string strContent(nSize, '\0');
    for (char& c : strContent)
        c = static_cast<char>(random() & 0xFF);
    return strContent;
}

// A scratch folder with "out" for the downloads and "www" served by the server.
class QelHttpTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(QelFileUtils::CreateDir(m_dir / L"out"));
        ASSERT_TRUE(QelFileUtils::CreateDir(m_dir / L"www"));
        m_strContent = MakeContent(kFileSize, 7);
        ASSERT_TRUE(WriteWholeFile(m_dir / L"www/file.bin", m_strContent));
        m_pServer = std::make_unique<TestHttpServer>(QelTestTempDir::NativePath(m_dir / L"www"));
        ASSERT_TRUE(m_pServer->IsRunning());
    }

    std::wstring Out(const std::wstring& strName) const { return m_dir / (L"out/" + strName); }
    std::set<std::wstring> OutFolder() const { return ListFolder(m_dir / L"out"); }
    // Downloads a path of the server into out/NAME.
    bool Get(QelHttp& http, const std::string& strPath, const std::wstring& strName, bool bCreateFolders = true,
             long nStallTimeoutSec = 2) {
        return http.DoHttpGetFile(m_pServer->Url(strPath), QelString::UnicodeToAnsi(Out(strName)), bCreateFolders,
                                  nStallTimeoutSec);
    }

    QelTestTempDir m_dir;
    std::string m_strContent;
    std::unique_ptr<TestHttpServer> m_pServer;
};

// ---- the fault matrix ------------------------------------------------------------------

enum class Outcome { Stored, StoredButDifferent, Failed };

struct FaultCase {
    const char* pszBehaviour;
    std::string strRequestPath;  // the path asked for
    TestHttpFault fault;         // set on that path
    bool bFollowRedirects;
    long nStallTimeoutSec;
    Outcome outcome;
    std::size_t nExpectedRequests;  // 0: not counted
};

void PrintTo(const FaultCase& c, std::ostream* pOut) { *pOut << c.pszBehaviour; }

TestHttpFault DropFirst(int nTimes) {
    TestHttpFault fault = TestHttpFault::Drop();
    fault.nTimes = nTimes;
    return fault;
}

const FaultCase kFaultCases[] = {
    {"Ok", "/file.bin", {}, true, 2, Outcome::Stored, 1},
    {"NotFound", "/file.bin", TestHttpFault::Status(404), true, 2, Outcome::Failed, 1},
    {"ResetMidBody", "/file.bin", TestHttpFault::ResetAfter(100000), true, 2, Outcome::Failed, 1},
    {"ResetBeforeBody", "/file.bin", TestHttpFault::ResetAfter(0), true, 2, Outcome::Failed, 1},
    {"ShortBody", "/file.bin", TestHttpFault::ShortBody(1000), true, 2, Outcome::Failed, 1},
    {"StallPastTimeout", "/file.bin", TestHttpFault::Stall(64 * 1024, 8000), true, 1, Outcome::Failed, 1},
    {"StallWithinTimeout", "/file.bin", TestHttpFault::Stall(64 * 1024, 300), true, 3, Outcome::Stored, 1},
    {"RedirectFollowed", "/moved.bin", TestHttpFault::Redirect("/file.bin"), true, 2, Outcome::Stored, 2},
    {"RedirectNotFollowed", "/moved.bin", TestHttpFault::Redirect("/file.bin"), false, 2, Outcome::Failed, 1},
    {"RedirectLoop", "/loop.bin", TestHttpFault::Redirect("/loop.bin"), true, 2, Outcome::Failed, 0},
    // Telling wrong bytes apart is the caller's digest's job.
    {"WrongBytes", "/file.bin", TestHttpFault::WrongBytes(), true, 2, Outcome::StoredButDifferent, 1},
    {"DroppedOnceThenServed", "/file.bin", DropFirst(1), true, 2, Outcome::Stored, 2},
    {"AlwaysDropped", "/file.bin", DropFirst(0), true, 2, Outcome::Failed, 4},  // 1 + 3 retries
};

class QelHttpFaultMatrix : public QelHttpTest, public ::testing::WithParamInterface<FaultCase> {};

TEST_P(QelHttpFaultMatrix, GivesTheExpectedResultAndLeavesNothingOnFailure) {
    const FaultCase& c = GetParam();
    m_pServer->SetFault(c.strRequestPath, c.fault);
    QelHttp http(c.bFollowRedirects, 3, 10);
    const auto tpStart = std::chrono::steady_clock::now();
    const bool bResult = Get(http, c.strRequestPath, L"cache/segment.ts", true, c.nStallTimeoutSec);
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kHangBound);

    EXPECT_EQ(bResult, c.outcome != Outcome::Failed);
    if (c.outcome != Outcome::Failed) {
        const std::string strStored = ReadWholeFile(Out(L"cache/segment.ts"));
        EXPECT_EQ(strStored.size(), kFileSize);
        EXPECT_EQ(strStored == m_strContent, c.outcome == Outcome::Stored);
    }
    // No temporary is left behind either way.
    const std::set<std::wstring> setExpected =
        c.outcome == Outcome::Failed ? std::set<std::wstring>{} : std::set<std::wstring>{L"segment.ts"};
    EXPECT_EQ(ListFolder(Out(L"cache")), setExpected);
    if (c.nExpectedRequests != 0) {
        EXPECT_EQ(m_pServer->RequestCount(), c.nExpectedRequests);
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, QelHttpFaultMatrix, ::testing::ValuesIn(kFaultCases),
                         [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.pszBehaviour); });

// ---- bad input and targets -------------------------------------------------------------

TEST_F(QelHttpTest, BadUrlsFailWithoutWritingOrAsking) {
    const std::string strPort = std::to_string(m_pServer->Port());
    QelHttp http;
    for (const std::string& strUrl : {std::string(), std::string("http://"), "127.0.0.1:" + strPort + "/file.bin",
                                      "ftp://127.0.0.1:" + strPort + "/file.bin"}) {
        EXPECT_FALSE(http.DoHttpGetFile(strUrl, QelString::UnicodeToAnsi(Out(L"x.bin")), true, 2)) << strUrl;
    }
    EXPECT_FALSE(http.DoHttpGetFile(m_pServer->Url("file.bin"), "", true, 2)) << "no target";
    EXPECT_TRUE(OutFolder().empty());
    EXPECT_EQ(m_pServer->RequestCount(), 0u);
}

TEST_F(QelHttpTest, ConnectionRefusedFailsAfterItsRetries) {
    const unsigned short nPort = qel::ClosedLoopbackPort();
    ASSERT_NE(nPort, 0);
    QelHttp http(true, 3, 2);
    const auto tpStart = std::chrono::steady_clock::now();
    EXPECT_FALSE(http.DoHttpGetFile("http://127.0.0.1:" + std::to_string(nPort) + "/file.bin",
                                    QelString::UnicodeToAnsi(Out(L"refused.bin")), true, 2));
    EXPECT_LT(std::chrono::steady_clock::now() - tpStart, kHangBound);
    EXPECT_TRUE(OutFolder().empty());
}

TEST_F(QelHttpTest, TargetsThatCannotBeWrittenFailAndLeaveWhatWasThere) {
    // A folder cannot be made below a regular file, whoever runs the test.
    ASSERT_TRUE(WriteWholeFile(Out(L"plain-file"), "x"));
    ASSERT_TRUE(QelFileUtils::CreateDir(Out(L"dir.bin/inside")));
    QelHttp http;
    EXPECT_FALSE(Get(http, "file.bin", L"plain-file/sub/x.bin"));
    EXPECT_FALSE(Get(http, "file.bin", L"dir.bin"));
    EXPECT_FALSE(Get(http, "file.bin", L"a/b/x.bin", false)) << "missing folders made only when asked";
    EXPECT_EQ(OutFolder(), (std::set<std::wstring>{L"dir.bin", L"plain-file"}));
    EXPECT_EQ(ReadWholeFile(Out(L"plain-file")), "x");
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(Out(L"dir.bin/inside")));

    ASSERT_TRUE(Get(http, "file.bin", L"a/b/x.bin", true));
    EXPECT_TRUE(ReadWholeFile(Out(L"a/b/x.bin")) == m_strContent);
}

TEST_F(QelHttpTest, ExistingFileIsReplacedOnSuccessAndRemovedOnFailure) {
    ASSERT_TRUE(WriteWholeFile(Out(L"x.bin"), "old content"));
    QelHttp http;
    ASSERT_TRUE(Get(http, "file.bin", L"x.bin"));
    EXPECT_TRUE(ReadWholeFile(Out(L"x.bin")) == m_strContent);

    // A failed download must not leave the previous body looking like a fresh one.
    m_pServer->SetFault("file.bin", TestHttpFault::ResetAfter(1000));
    EXPECT_FALSE(Get(http, "file.bin", L"x.bin"));
    EXPECT_TRUE(OutFolder().empty());
}

TEST_F(QelHttpTest, EmptyBodyGivesAnEmptyFile) {
    m_pServer->AddBody("/empty.m3u8", "");
    QelHttp http;
    ASSERT_TRUE(Get(http, "empty.m3u8", L"empty.m3u8"));
    EXPECT_EQ(QelFileUtils::GetFileSize(Out(L"empty.m3u8")), 0);
}

TEST_F(QelHttpTest, NonAsciiNamesOnBothSides) {
    const std::wstring strTarget = Out(L"vid\u00e9o/s\u00e9gment.ts");
    if (QelString::AnsiToUnicode(QelString::UnicodeToAnsi(strTarget)) != strTarget)
        GTEST_SKIP() << "the ANSI code page cannot name the target";
    m_pServer->AddBody(u8"/vid\u00e9o/s\u00e9gment.ts", m_strContent);
    QelHttp http;
    ASSERT_TRUE(Get(http, "vid%C3%A9o/s%C3%A9gment.ts", L"vid\u00e9o/s\u00e9gment.ts"));
    EXPECT_TRUE(ReadWholeFile(strTarget) == m_strContent);
}

// ---- progress, abort and size limit ----------------------------------------------------

class AbortHalfway : public QelHttpDownloadProgressCallback {
public:
    bool OnDownloadProgress(long long llDownloaded, long long llTotal, void* pUser) override {
        m_pUser = pUser;
        m_llMaxDownloaded = std::max(m_llMaxDownloaded, llDownloaded);
        if (llTotal > 0)
            m_llTotal = llTotal;
        return llTotal > 0 && llDownloaded >= llTotal / 2;
    }

    void* m_pUser = nullptr;
    long long m_llMaxDownloaded = 0;
    long long m_llTotal = -1;
};

TEST_F(QelHttpTest, ProgressCallbackAbortsHalfwayThroughAThrottledBody) {
    const std::string strLarge = MakeContent(2 * 1024 * 1024, 11);
    m_pServer->AddBody("/large.ts", strLarge);
    m_pServer->SetFault("/large.ts", TestHttpFault::Throttle(512 * 1024));  // about 4 s in all

    AbortHalfway callback;
    int nUser = 0;
    QelHttp http(true, 3, 10);
    http.SetDownloadProgressCallback(&callback, &nUser);
    EXPECT_FALSE(Get(http, "large.ts", L"large.ts", true, 10));

    EXPECT_EQ(callback.m_pUser, &nUser);
    EXPECT_EQ(callback.m_llTotal, static_cast<long long>(strLarge.size()));
    EXPECT_GE(callback.m_llMaxDownloaded, callback.m_llTotal / 2);
    EXPECT_LT(callback.m_llMaxDownloaded, callback.m_llTotal);
    EXPECT_TRUE(OutFolder().empty());
    EXPECT_EQ(m_pServer->RequestCount(), 1u);  // a cancel is never retried
}

TEST_F(QelHttpTest, ABodyPastTheSizeLimitFailsAndLeavesNothing) {
    QelHttp http;
    http.SetMaxBodyBytes(static_cast<long long>(kFileSize));
    EXPECT_TRUE(Get(http, "file.bin", L"fits.bin"));
    http.SetMaxBodyBytes(static_cast<long long>(kFileSize) - 1);
    EXPECT_FALSE(Get(http, "file.bin", L"announced.bin"));

    m_pServer->SetFault("/file.bin", TestHttpFault::Endless());
    http.SetMaxBodyBytes(4 * static_cast<long long>(kFileSize));
    EXPECT_FALSE(Get(http, "file.bin", L"endless.bin"));
    EXPECT_EQ(OutFolder(), std::set<std::wstring>{L"fits.bin"});
}

}  // namespace
