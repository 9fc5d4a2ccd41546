#include "QelHlsFixture.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "log/QelLog.h"
#include "platform/utils/QelTestTempDir.h"
#include "utils/QelFileUtils.h"
#include "video/QelMessages.h"

namespace fs = std::filesystem;

namespace qel::test {

namespace {

std::wstring LogPath() {
    static const std::wstring s_strPath = [] {
        const std::wstring strPath = QelTestTempDir::SystemTempPath() + L"qel_hls_test_" +
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

}  // namespace

LogCapture::LogCapture() : m_llStart(std::max(0LL, QelFileUtils::GetFileSize(LogPath()))) {}

std::string LogCapture::Text() const {
    std::ifstream in(QelTestTempDir::NativePath(LogPath()), std::ios::binary);
    in.seekg(m_llStart);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
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

TestHttpServer& HlsFixture::Serve(const fs::path& root) {
    if (!m_pServer)
        m_pServer = std::make_unique<TestHttpServer>(root);
    return *m_pServer;
}

std::vector<int> HlsFixture::RequestedSegments() const {
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

std::string HlsFixture::DescribeRequests() const {
    std::string strText;
    for (const TestHttpRequest& request : m_pServer->Requests())
        strText += request.strPath + (request.strFault.empty() ? "" : " [" + request.strFault + "]") + "\n";
    return strText;
}

void HlsFixture::Pump(std::chrono::milliseconds duration) {
    PumpUntil([] { return false; }, duration);
}

bool HlsFixture::PumpUntil(const std::function<bool()>& predicate, std::chrono::milliseconds bound) {
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!predicate()) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        if (auto message = m_window.Receive(std::min(left, std::chrono::milliseconds(50)))) {
            m_vecMessages.push_back(*message);
            OnMessage(*message);
        }
    }
    return true;
}

std::optional<PostedMessage> HlsFixture::WaitFor(UINT message, std::optional<WPARAM> wParam, size_t nFrom,
                                                 std::chrono::milliseconds bound) {
    std::optional<PostedMessage> found;
    PumpUntil(
        [&] {
            for (; nFrom < m_vecMessages.size() && !found; ++nFrom) {
                if (m_vecMessages[nFrom].message == message && (!wParam || m_vecMessages[nFrom].wParam == *wParam))
                    found = m_vecMessages[nFrom];
            }
            return found.has_value();
        },
        bound);
    return found;
}

bool HlsFixture::WaitForCount(UINT message, int nCount, std::chrono::milliseconds bound) {
    return PumpUntil([&] { return Count(message) >= nCount; }, bound);
}

int HlsFixture::Count(UINT message) const {
    int nCount = 0;
    for (const PostedMessage& posted : m_vecMessages)
        nCount += posted.message == message ? 1 : 0;
    return nCount;
}

std::string HlsFixture::Describe(size_t nFrom) const {
    std::ostringstream text;
    for (size_t i = nFrom; i < m_vecMessages.size(); ++i) {
        const PostedMessage& m = m_vecMessages[i];
        text << (i == nFrom ? "" : " ");
        switch (m.message) {
        case QEL_VIDEO_DOWNLOAD_SUCCESS:
            text << "ok";
            if (m.wParam != m_wUserDataLow)
                text << '(' << m.wParam << ')';
            break;
        case QEL_VIDEO_DOWNLOAD_FAILED: text << "failed(" << m.wParam << ',' << m.lParam << ')'; break;
        case QEL_VIDEO_STARTED: text << "started"; break;
        case QEL_VIDEO_SEEK_TS: text << "seek(" << m.wParam << ')'; break;
        case QEL_VIDEO_PLAYER_EVENT: text << "event(" << m.wParam << ')'; break;
        default: text << "message(" << m.message << ',' << m.wParam << ',' << m.lParam << ')'; break;
        }
    }
    return text.str();
}

}  // namespace qel::test
