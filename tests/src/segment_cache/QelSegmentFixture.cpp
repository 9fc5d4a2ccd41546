#include "QelSegmentFixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "QelFakeEngine.h"
#include "log/QelLog.h"
#include "support/TestSampleContent.h"
#include "utils/QelFileUtils.h"
#include "utils/QelString.h"

namespace fs = std::filesystem;

namespace qel::test {

namespace {

std::wstring LogPath() {
    static const std::wstring s_strPath = [] {
        const std::wstring strPath = QelTestTempDir::SystemTempPath() + L"qel_segment_test_" +
                                     std::to_wstring(std::chrono::steady_clock::now().time_since_epoch().count()) +
                                     L".log";
        qel::log::OpenProcessLog(strPath);
        return strPath;
    }();
    return s_strPath;
}

// Removes the log file at the end where the system allows it (an open file on Windows stays).
class LogCleanup : public ::testing::Environment {
    void TearDown() override {
        std::error_code ec;
        fs::remove(QelTestTempDir::NativePath(LogPath()), ec);
    }
};
const auto* const g_pLogCleanup = ::testing::AddGlobalTestEnvironment(new LogCleanup);

std::string ReadBytes(const std::wstring& strPath, long long llFrom = 0) {
    std::ifstream in(QelTestTempDir::NativePath(strPath), std::ios::binary);
    in.seekg(llFrom);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace

LogCapture::LogCapture() : m_llStart(std::max(0LL, QelFileUtils::GetFileSize(LogPath()))) {}

std::string LogCapture::Text() const {
    return ReadBytes(LogPath(), m_llStart);
}

int LogCapture::Count(const std::string& strText) const {
    const std::string strLog = Text();
    int nCount = 0;
    for (size_t nPos = strLog.find(strText); nPos != std::string::npos; nPos = strLog.find(strText, nPos + 1))
        ++nCount;
    return nCount;
}

std::string LogCapture::Groups() const {
    // Only whole lines in the system's own words, ended by CR LF, are recognised.
    static const std::pair<std::regex, const char*> s_patterns[] = {
        {std::regex(R"(.*\] Create group\(index:(\d+)\) for ts index 0 and 1\r)"), "first $1"},
        {std::regex(R"(.*\] Create new group\(index:(\d+)\) for ts index (\d+)\r)"), "seek $1:$2"},
        {std::regex(R"(.*\] Resume download for group index (\d+), include ts (\d+) to (\d+)\r)"), "resume $1:$2-$3"},
        {std::regex(R"(.*\] TS group finished\r)"), "ready"},
    };
    std::istringstream log(Text());
    std::string strGroups;
    for (std::string strLine; std::getline(log, strLine);) {
        for (const auto& [pattern, pszFormat] : s_patterns) {
            std::smatch match;
            if (std::regex_match(strLine, match, pattern))
                strGroups += (strGroups.empty() ? "" : " ") + match.format(pszFormat);
        }
    }
    return strGroups;
}

std::string SegmentBody(int nIndex) {
    static const std::vector<std::string> s_vecBodies = [] {
        std::vector<std::string> vecBodies;
        for (int i = 0; i < 5; ++i)
            vecBodies.push_back(ReadBytes(SampleFile("hls/index" + std::to_string(i) + ".ts")));
        return vecBodies;
    }();
    return s_vecBodies[static_cast<size_t>(nIndex % 5)];
}

std::wstring SegmentDigest(int nIndex) {
    static const std::map<std::string, std::string> s_mapDigests = SampleSegmentDigests();
    return QelString::Utf8ToUnicode(s_mapDigests.at("index" + std::to_string(nIndex % 5) + ".ts"));
}

SegmentFixture::SegmentFixture() : m_hWnd(m_window.Handle()) {
    for (int i = 0; i < 12; ++i)
        m_server.AddBody(SegmentPath(i), SegmentBody(i));
}

std::string SegmentFixture::SegmentPath(int nIndex) {
    return "/v/seg" + std::to_string(nIndex) + ".ts";
}

std::wstring SegmentFixture::CachePath(int nIndex) const {
    return m_cache / (L"seg" + std::to_wstring(nIndex) + L".ts");
}

std::vector<QelTSItem> SegmentFixture::Items(int nCount, bool bDigests, int nFirst) const {
    std::vector<QelTSItem> vecItems;
    for (int i = nFirst; i < nFirst + nCount; ++i) {
        QelTSItem item;
        item.nIndex = i;
        item.fDuration = 1.0f;
        item.strPlaylistUrl = m_server.Url("/v/index.m3u8");
        item.strUri = "seg" + std::to_string(i) + ".ts";
        item.strUrl = m_server.Url(SegmentPath(i));
        item.strLocalPath = CachePath(i);
        item.strLocalPathA = QelString::UnicodeToAnsi(item.strLocalPath);
        if (bDigests)
            item.strSha256 = SegmentDigest(i);
        vecItems.push_back(item);
    }
    return vecItems;
}

void SegmentFixture::Cache(int nIndex, const std::string& strBytes) const {
    std::ofstream(QelTestTempDir::NativePath(CachePath(nIndex)), std::ios::binary) << strBytes;
}

bool SegmentFixture::IsCached(int nIndex) const {
    return QelFileUtils::IsFileExist(CachePath(nIndex)) != 0;
}

std::string SegmentFixture::CacheListing() const {
    std::set<std::string> setNames;
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(QelTestTempDir::NativePath(m_cache.Path()), ec))
        setNames.insert(entry.path().filename().u8string());
    std::string strListing;
    for (const std::string& strName : setNames) {
        int nIndex = -1;
        std::istringstream(strName.substr(3)) >> nIndex;
        const bool bSegment = strName == "seg" + std::to_string(nIndex) + ".ts";
        const bool bWhole = bSegment && ReadBytes(m_cache / QelString::Utf8ToUnicode(strName)) == SegmentBody(nIndex);
        strListing += (strListing.empty() ? "" : " ") + strName + (bSegment && !bWhole ? "!" : "");
    }
    return strListing;
}

void SegmentFixture::ClearCache() const {
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(QelTestTempDir::NativePath(m_cache.Path()), ec))
        fs::remove(entry.path(), ec);
}

std::vector<int> SegmentFixture::RequestedSegments() const {
    std::vector<int> vecIndexes;
    for (const TestHttpRequest& request : m_server.Requests()) {
        if (request.strPath.rfind("/v/seg", 0) == 0)
            vecIndexes.push_back(std::stoi(request.strPath.substr(6)));
    }
    return vecIndexes;
}

int SegmentFixture::RequestsFor(int nIndex) const {
    int nCount = 0;
    for (int nRequested : RequestedSegments())
        nCount += nRequested == nIndex ? 1 : 0;
    return nCount;
}

std::vector<PostedMessage> SegmentFixture::Drain(std::chrono::milliseconds quiet) {
    std::vector<PostedMessage> vecMessages(m_dequeKept.begin(), m_dequeKept.end());
    m_dequeKept.clear();
    while (auto message = m_window.Receive(quiet))
        vecMessages.push_back(*message);
    return vecMessages;
}

std::vector<PostedMessage> SegmentFixture::ReceiveN(UINT message, size_t nCount, std::chrono::milliseconds timeout) {
    std::vector<PostedMessage> vecMessages;
    for (auto it = m_dequeKept.begin(); it != m_dequeKept.end() && vecMessages.size() < nCount;) {
        if (it->message == message) {
            vecMessages.push_back(*it);
            it = m_dequeKept.erase(it);
        } else {
            ++it;
        }
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (vecMessages.size() < nCount) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        auto received = left.count() > 0 ? m_window.Receive(left) : std::nullopt;
        if (!received)
            break;
        if (received->message == message)
            vecMessages.push_back(*received);
        else
            m_dequeKept.push_back(*received);
    }
    return vecMessages;
}

PlaybackProbe::PlaybackProbe(HWND hNotifyWnd) : m_pManager(std::make_unique<QelVideoPlayerManager>()) {
    qel::fake_engine::Reset();
    m_pManager->SetHWnd(hNotifyWnd, hNotifyWnd);
    m_pFile = std::make_unique<QelVideoFile>(m_pManager.get(), L"clip.mp4", L"clip.mp4", &hNotifyWnd,
                                             std::map<std::wstring, std::wstring>{}, 0);
}

PlaybackProbe::~PlaybackProbe() {
    m_pManager->Stop();
}

int PlaybackProbe::Opens() {
    int nOpens = 0;
    for (const auto& call : qel::fake_engine::Calls())
        nOpens += call.strName == "Open" ? 1 : 0;
    return nOpens;
}

}  // namespace qel::test
