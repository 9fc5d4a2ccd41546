#include "QelRemotePlayFixture.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <system_error>
#include <thread>

#include "QelRemotePlayEngine.h"
#include "support/TestSampleContent.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"
#include "video/QelMessages.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;
#endif

namespace fs = std::filesystem;

namespace qel::test {

namespace {

fs::path Native(const std::wstring& strPath) {
    return QelTestTempDir::NativePath(strPath);
}

// "<relative path with '/'>" of an entry under a top folder.
std::string RelativeName(const fs::path& entry, const fs::path& top) {
    return QelString::UnicodeToUtf8(fs::relative(entry, top).generic_wstring());
}

}  // namespace

// ---- content ------------------------------------------------------------------------

HlsContent::HlsContent(const std::wstring& strRoot) : m_strRoot(strRoot) {
    // "index<i>.ts <digest>" per line, in segment order.
    std::ifstream in(Native(m_strRoot + L"hls" + kQelPathSeparator + L"sha256.txt"));
    std::string strName, strDigest;
    while (in >> strName >> strDigest) {
        const int nIndex = std::stoi(strName.substr(5));
        if (static_cast<int>(m_vecDigests.size()) <= nIndex)
            m_vecDigests.resize(static_cast<size_t>(nIndex) + 1);
        m_vecDigests[static_cast<size_t>(nIndex)] = strDigest;
    }
}

const HlsContent& HlsContent::Short() {
    static const HlsContent content(SampleDir());
    return content;
}

const HlsContent& HlsContent::Long() {
    static const HlsContent content(QelString::Utf8ToUnicode(QEL_REMOTE_PLAY_CONTENT) + kQelPathSeparator);
    return content;
}

fs::path HlsContent::Root() const {
    return Native(m_strRoot);
}

std::string HlsContent::FileBytes(const std::string& strRelative) const {
    return ReadFileBytes(m_strRoot + QelString::StringReplace(QelString::Utf8ToUnicode(strRelative), L"/",
                                                              kQelPathSeparator));
}

std::string HlsContent::SegmentBytes(int nIndex) const {
    return FileBytes("hls/" + SegmentName(nIndex));
}

std::string HlsContent::PlaylistBytes() const {
    return FileBytes("hls/index.m3u8");
}

// ---- files ----------------------------------------------------------------------------

std::map<std::string, TreeEntry> ListTree(const std::wstring& strTop, const std::wstring& strSkip) {
    std::map<std::string, TreeEntry> mapEntries;
    const fs::path top = Native(strTop);
    const fs::path skip = strSkip.empty() ? fs::path() : Native(strSkip).parent_path();
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(top, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec)) {
        TreeEntry entry;
        std::error_code ecEntry;
        entry.bFolder = it->is_directory(ecEntry);
        if (!entry.bFolder) {
            entry.llSize = static_cast<long long>(it->file_size(ecEntry));
            entry.llWriteTime = static_cast<long long>(it->last_write_time(ecEntry).time_since_epoch().count());
        }
        mapEntries[RelativeName(it->path(), top)] = entry;
        if (!skip.empty() && it->path() == skip)
            it.disable_recursion_pending();
    }
    return mapEntries;
}

std::vector<std::string> FilesIn(const std::wstring& strFolder) {
    std::vector<std::string> vecNames;
    for (const auto& entry : ListTree(strFolder)) {
        if (!entry.second.bFolder)
            vecNames.push_back(entry.first);
    }
    return vecNames;
}

std::string ReadFileBytes(const std::wstring& strPath) {
    std::ifstream in(Native(strPath), std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// ---- a second process -------------------------------------------------------------------

#ifdef _WIN32

int RunThisProgram(const std::string& strFilter, const std::map<std::string, std::string>& mapEnvironment) {
    wchar_t szPath[MAX_PATH + 1] = {};
    if (GetModuleFileNameW(nullptr, szPath, MAX_PATH) == 0)
        return -1;
    // The environment block of this process is guarded by the system: set, start, unset.
    for (const auto& entry : mapEnvironment)
        SetEnvironmentVariableW(QelString::Utf8ToUnicode(entry.first).c_str(),
                                QelString::Utf8ToUnicode(entry.second).c_str());
    std::wstring strCommand = L"\"" + std::wstring(szPath) + L"\" --gtest_filter=" + QelString::Utf8ToUnicode(strFilter);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    const BOOL bStarted =
        CreateProcessW(szPath, strCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    for (const auto& entry : mapEnvironment)
        SetEnvironmentVariableW(QelString::Utf8ToUnicode(entry.first).c_str(), nullptr);
    if (!bStarted)
        return -1;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD dwExit = 0;
    GetExitCodeProcess(process.hProcess, &dwExit);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(dwExit);
}

#else

int RunThisProgram(const std::string& strFilter, const std::map<std::string, std::string>& mapEnvironment) {
    std::error_code ec;
    const std::string strExe = fs::read_symlink("/proc/self/exe", ec).string();
    if (ec)
        return -1;
    // The child's environment is built here: setenv would race with the threads running.
    std::vector<std::string> vecEnvironment;
    for (char** pp = environ; *pp; ++pp) {
        const std::string strEntry = *pp;
        if (!mapEnvironment.count(strEntry.substr(0, strEntry.find('='))))
            vecEnvironment.push_back(strEntry);
    }
    for (const auto& entry : mapEnvironment)
        vecEnvironment.push_back(entry.first + "=" + entry.second);
    std::vector<char*> vecEnvp;
    for (std::string& strEntry : vecEnvironment)
        vecEnvp.push_back(strEntry.data());
    vecEnvp.push_back(nullptr);
    std::string strExeArg = strExe;
    std::string strFilterArg = "--gtest_filter=" + strFilter;
    char* argv[] = {strExeArg.data(), strFilterArg.data(), nullptr};

    pid_t pid = 0;
    if (posix_spawn(&pid, strExe.c_str(), nullptr, nullptr, argv, vecEnvp.data()) != 0)
        return -1;
    int nStatus = 0;
    while (waitpid(pid, &nStatus, 0) < 0) {
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
}

#endif

// ---- the fixture ------------------------------------------------------------------------

RemotePlayTest::RemotePlayTest() {
    // Deep enough that "../.." from a video's folder still lands inside the sandbox, where
    // the listings would see it.
    m_strCacheRoot = m_sandbox.Path() + L"outer" + kQelPathSeparator + L"middle" + kQelPathSeparator + L"cache" +
                     kQelPathSeparator;
    QelFileUtils::CreateDir(m_strCacheRoot);
    m_manager.SetHWnd(m_window.Handle(), m_window.Handle());
    m_manager.SetVideoDownloadPath(m_strCacheRoot);
    m_manager.SetVideoUpdateTime(kUpdateTime);
    engine::Forget();
}

RemotePlayTest::~RemotePlayTest() {
    m_manager.Stop();
}

TestHttpServer& RemotePlayTest::Serve(const fs::path& root) {
    if (!m_pServer)
        m_pServer = std::make_unique<TestHttpServer>(root);
    return *m_pServer;
}

std::map<std::wstring, std::wstring> RemotePlayTest::DigestMap(const HlsContent& content,
                                                               const std::string& strFolderUrl) const {
    std::map<std::wstring, std::wstring> mapDigests;
    for (int i = 0; i < content.Count(); ++i)
        mapDigests[QelString::Utf8ToUnicode(strFolderUrl + HlsContent::SegmentName(i))] =
            QelString::Utf8ToUnicode(content.Digest(i));
    return mapDigests;
}

std::wstring RemotePlayTest::CacheFolder(const std::string& strUrl, long long llUpdateTime) const {
    return m_strCacheRoot + QelCode::Md5Encrypt(strUrl + "#" + std::to_string(llUpdateTime)) + kQelPathSeparator;
}

bool RemotePlayTest::Play(const std::string& strUrl, const std::map<std::wstring, std::wstring>& mapDigests) {
    m_strPlayingUrl = QelString::Utf8ToUnicode(strUrl);
    return m_manager.Play(m_strPlayingUrl, mapDigests, kUserData);
}

void RemotePlayTest::Pump(std::chrono::milliseconds duration) {
    PumpUntil([] { return false; }, duration);
}

bool RemotePlayTest::PumpUntil(const std::function<bool()>& predicate, std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!predicate()) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline)
            return false;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now);
        auto message = m_window.Receive(std::min(left, std::chrono::milliseconds(50)));
        if (!message)
            continue;
        m_vecMessages.push_back(*message);
        if (message->message == QEL_VIDEO_SEEK_TS && !m_strPlayingUrl.empty())
            m_manager.UpdateDownloadPriority(m_strPlayingUrl, static_cast<int>(message->wParam));
    }
    return true;
}

std::optional<PostedMessage> RemotePlayTest::WaitFor(UINT message, std::optional<WPARAM> wParam, size_t nFrom,
                                                     std::chrono::milliseconds bound) {
    std::optional<PostedMessage> found;
    size_t nSeen = nFrom;
    PumpUntil(
        [&] {
            for (; nSeen < m_vecMessages.size() && !found; ++nSeen) {
                const PostedMessage& posted = m_vecMessages[nSeen];
                if (posted.message == message && (!wParam || posted.wParam == *wParam))
                    found = posted;
            }
            return found.has_value();
        },
        bound);
    return found;
}

int RemotePlayTest::Count(UINT message) const {
    int nCount = 0;
    for (const PostedMessage& posted : m_vecMessages)
        nCount += posted.message == message ? 1 : 0;
    return nCount;
}

std::string RemotePlayTest::Describe() const {
    std::ostringstream text;
    for (const PostedMessage& posted : m_vecMessages) {
        switch (posted.message) {
        case QEL_VIDEO_DOWNLOAD_SUCCESS: text << "SUCCESS"; break;
        case QEL_VIDEO_DOWNLOAD_FAILED: text << "FAILED"; break;
        case QEL_VIDEO_STARTED: text << "STARTED"; break;
        case QEL_VIDEO_SEEK_TS: text << "SEEK_TS"; break;
        case QEL_VIDEO_PLAYER_EVENT: text << "EVENT"; break;
        default: text << posted.message; break;
        }
        text << '(' << posted.wParam << ',' << posted.lParam << ") ";
    }
    return text.str();
}

void RemotePlayTest::SeekToSegment(int nIndex, long long llPositionMs) {
    if (!engine::Renders()) {
        m_manager.UpdateDownloadPriority(m_strPlayingUrl, nIndex);
        return;
    }
    const size_t nFrom = m_vecMessages.size();
    m_manager.Seek(llPositionMs);
    // Taking the request answers it (Pump).
    EXPECT_TRUE(WaitFor(QEL_VIDEO_SEEK_TS, static_cast<WPARAM>(nIndex), nFrom)) << Describe();
}

bool RemotePlayTest::AllCached(const std::wstring& strFolder, int nCount, int nFirst) {
    for (int i = nFirst; i < nFirst + nCount; ++i) {
        if (!QelFileUtils::IsFileExist(strFolder + QelString::Utf8ToUnicode(HlsContent::SegmentName(i))))
            return false;
    }
    return true;
}

void RemotePlayTest::ExpectPlaysToTheEnd() {
    if (!engine::Renders())
        return;
    const auto end = WaitFor(QEL_VIDEO_PLAYER_EVENT, static_cast<WPARAM>(QEL_VIDEO_EVENT_END));
    ASSERT_TRUE(end) << "no end reported; position " << m_manager.GetCurPosition() << " of "
                     << m_manager.GetVideoDuration() << "; messages: " << Describe();
    EXPECT_NEAR(static_cast<double>(m_manager.GetCurPosition()), static_cast<double>(m_manager.GetVideoDuration()),
                1000.0);
}

std::vector<int> RemotePlayTest::RequestedSegments() const {
    static const std::regex kSegmentNumber(R"((\d+)\.ts)");
    std::vector<int> vecIndexes;
    for (const TestHttpRequest& request : m_pServer->Requests()) {
        int nIndex = -1;
        for (auto it = std::sregex_iterator(request.strPath.begin(), request.strPath.end(), kSegmentNumber);
             it != std::sregex_iterator(); ++it)
            nIndex = std::stoi((*it)[1].str());
        vecIndexes.push_back(nIndex);
    }
    return vecIndexes;
}

std::string RemotePlayTest::DescribeRequests() const {
    std::string strText;
    for (const TestHttpRequest& request : m_pServer->Requests())
        strText += request.strPath + (request.strFault.empty() ? "" : " [" + request.strFault + "]") + "\n";
    return strText;
}

}  // namespace qel::test
