#include "QelRemotePlayFixture.h"

#include <filesystem>
#include <fstream>
#include <algorithm>
#include <cctype>
#include <set>
#include <system_error>

#include "QelRemotePlayEngine.h"
#include "platform/utils/QelFileTestHelpers.h"
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

std::string HlsContent::SegmentBytes(int nIndex) const {
    return ReadWholeFile(m_strRoot + L"hls" + kQelPathSeparator + QelString::Utf8ToUnicode(SegmentName(nIndex)));
}

std::string HlsContent::PlaylistBytes() const {
    return ReadWholeFile(m_strRoot + L"hls" + kQelPathSeparator + L"index.m3u8");
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

std::string Sha256Of(const std::wstring& strPath) {
    std::wstring strDigest;
    QelCode::SHA256File(strPath, strDigest);
    return QelString::UnicodeToUtf8(strDigest);
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

RemotePlayTest::RemotePlayTest() : HlsFixture(static_cast<WPARAM>(kUserData & 0xFFFFFFFF)) {
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

void RemotePlayTest::OnMessage(const PostedMessage& message) {
    if (message.message == QEL_VIDEO_SEEK_TS && !m_strPlayingUrl.empty())
        m_manager.UpdateDownloadPriority(m_strPlayingUrl, static_cast<int>(message.wParam));
}

namespace {

// RFC 3986 dot-segment removal on a path.
std::string WithoutDotSegments(const std::string& strPath) {
    std::vector<std::string> vecParts;
    size_t nStart = 0;
    const bool bTrailing = !strPath.empty() && strPath.back() == '/';
    while (nStart <= strPath.size()) {
        const size_t nSlash = std::min(strPath.find('/', nStart), strPath.size());
        const std::string strPart = strPath.substr(nStart, nSlash - nStart);
        if (strPart == "..") {
            if (!vecParts.empty())
                vecParts.pop_back();
        } else if (strPart != "." && !strPart.empty()) {
            vecParts.push_back(strPart);
        }
        nStart = nSlash + 1;
    }
    std::string strOut;
    for (const std::string& strPart : vecParts)
        strOut += "/" + strPart;
    return strOut.empty() || bTrailing ? strOut + "/" : strOut;
}

std::string PercentDecoded(const std::string& str) {
    std::string strOut;
    for (size_t i = 0; i < str.size(); ++i) {
        if (str[i] == '%' && i + 2 < str.size() && std::isxdigit(static_cast<unsigned char>(str[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(str[i + 2]))) {
            strOut += static_cast<char>(std::stoi(str.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            strOut += str[i];
        }
    }
    return strOut;
}

// The paths, as the server's log shows them (query cut off, escapes decoded), under which a
// request for the URL may reach the server.
std::set<std::string> ServerPathsOf(const std::string& strUrl) {
    const std::string strRaw = strUrl.substr(strUrl.find('/', strUrl.find("://") + 3));
    std::set<std::string> setPaths;
    for (const std::string& strWhole : {strRaw, strRaw.substr(0, strRaw.find('#'))}) {
        const std::string strPath = strWhole.substr(0, strWhole.find('?'));
        std::string strSlashed = strPath;
        std::replace(strSlashed.begin(), strSlashed.end(), '\\', '/');
        for (const std::string& strForm : {strPath, strSlashed}) {
            setPaths.insert(PercentDecoded(strForm));
            setPaths.insert(PercentDecoded(WithoutDotSegments(strForm)));
            setPaths.insert(WithoutDotSegments(PercentDecoded(strForm)));
        }
    }
    return setPaths;
}

}  // namespace

std::string RemotePlayTest::ServeHostilePlaylist(const std::vector<std::string>& vecUris) {
    const HlsContent& content = HlsContent::Long();
    std::string strPlaylist = "#EXTM3U\n#EXT-X-TARGETDURATION:1\n";
    std::map<std::wstring, std::wstring> mapDigests;
    for (size_t i = 0; i < vecUris.size(); ++i) {
        const std::string& strUri = vecUris[i];
        strPlaylist += "#EXTINF:1.000000,\n" + strUri + "\n";
        const std::string strSegmentUrl = strUri.rfind("http://", 0) == 0 ? strUri
                                          : strUri[0] == '/'            ? Server().Url(strUri)
                                                                        : Server().Url("/hls/") + strUri;
        for (const std::string& strPath : ServerPathsOf(strSegmentUrl))
            Server().AddBody(strPath, content.SegmentBytes(static_cast<int>(i)));
        mapDigests[QelString::Utf8ToUnicode(strSegmentUrl)] = QelString::Utf8ToUnicode(content.Digest(static_cast<int>(i)));
    }
    Server().AddBody("/hls/hostile.m3u8", strPlaylist + "#EXT-X-ENDLIST\n");
    const std::string strUrl = Server().Url("/hls/hostile.m3u8");
    Play(strUrl, mapDigests);
    EXPECT_TRUE(WaitFor(QEL_VIDEO_STARTED)) << Describe();
    return strUrl;
}

void RemotePlayTest::SeekToSegment(int nIndex, long long llPositionMs) {
    if (!engine::Renders()) {
        m_manager.UpdateDownloadPriority(m_strPlayingUrl, nIndex);
        return;
    }
    const size_t nFrom = Messages().size();
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

::testing::AssertionResult RemotePlayTest::HoldsPlaylistAndSegments(const std::wstring& strFolder,
                                                                 const std::string& strPlaylist,
                                                                 const std::string& strPlaylistBytes,
                                                                 const HlsContent& content, int nCount) {
    std::vector<std::string> vecExpected{strPlaylist};
    for (int i = 0; i < nCount; ++i)
        vecExpected.push_back(HlsContent::SegmentName(i));
    std::sort(vecExpected.begin(), vecExpected.end());
    const std::vector<std::string> vecFiles = FilesIn(strFolder);
    if (vecFiles != vecExpected) {
        auto failure = ::testing::AssertionFailure() << "the cache folder holds:";
        for (const std::string& strName : vecFiles)
            failure << ' ' << strName;
        return failure;
    }
    if (ReadWholeFile(strFolder + QelString::Utf8ToUnicode(strPlaylist)) != strPlaylistBytes)
        return ::testing::AssertionFailure() << strPlaylist << " differs from what was served";
    for (int i = 0; i < nCount; ++i) {
        if (Sha256Of(strFolder + QelString::Utf8ToUnicode(HlsContent::SegmentName(i))) != content.Digest(i))
            return ::testing::AssertionFailure() << HlsContent::SegmentName(i) << " does not match its digest";
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult RemotePlayTest::OpenedOnceWith(const std::wstring& strPlaylist, size_t nSegments) const {
    const int nStarts = m_log.Count("] Start play video:");
    if (nStarts != 1 || m_log.Count("] Start play video:" + QelString::UnicodeToUtf8(strPlaylist) + "\r\n") != 1)
        return ::testing::AssertionFailure() << nStarts << " starts logged, none of them or more with "
                                             << QelString::UnicodeToUtf8(strPlaylist);
    return engine::OpenedWith(QelString::UnicodeToAnsi(strPlaylist), nSegments);
}

::testing::AssertionResult RemotePlayTest::NeverOpened() {
    if (m_log.Count("] Start play video:") != 0 || m_manager.IsOpenFile())
        return ::testing::AssertionFailure() << "playback was started";
    return ::testing::AssertionSuccess();
}

}  // namespace qel::test
