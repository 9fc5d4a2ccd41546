#include "QelSegmentFixture.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "QelFakeEngine.h"
#include "platform/utils/QelFileTestHelpers.h"
#include "support/TestSampleContent.h"
#include "utils/QelFileUtils.h"
#include "utils/QelString.h"

namespace fs = std::filesystem;

namespace qel::test {

std::string SegmentBody(int nIndex) {
    static const std::vector<std::string> s_vecBodies = [] {
        std::vector<std::string> vecBodies;
        for (int i = 0; i < 5; ++i)
            vecBodies.push_back(ReadWholeFile(SampleFile("hls/index" + std::to_string(i) + ".ts")));
        return vecBodies;
    }();
    return s_vecBodies[static_cast<size_t>(nIndex % 5)];
}

std::wstring SegmentDigest(int nIndex) {
    static const std::map<std::string, std::string> s_mapDigests = SampleSegmentDigests();
    return QelString::Utf8ToUnicode(s_mapDigests.at("index" + std::to_string(nIndex % 5) + ".ts"));
}

SegmentFixture::SegmentFixture(WPARAM wUserDataLow)
    : HlsFixture(wUserDataLow), m_server(Serve()), m_hWnd(m_window.Handle()) {
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
        const bool bWhole = bSegment && ReadWholeFile(m_cache / QelString::Utf8ToUnicode(strName)) == SegmentBody(nIndex);
        strListing += (strListing.empty() ? "" : " ") + strName + (bSegment && !bWhole ? "!" : "");
    }
    return strListing;
}

void SegmentFixture::ClearCache() const {
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(QelTestTempDir::NativePath(m_cache.Path()), ec))
        fs::remove(entry.path(), ec);
}

PlaybackProbe::PlaybackProbe(HWND hNotifyWnd) : m_pManager(std::make_unique<QelVideoPlayerManager>()) {
    qel::fake_engine::Reset();
    m_pManager->SetHWnd(hNotifyWnd, hNotifyWnd);
    m_pFile = std::make_unique<CountingFile>(m_pManager.get(), L"clip.mp4", L"clip.mp4", &hNotifyWnd,
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
