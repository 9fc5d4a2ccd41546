// Cache folder names and the decisions of Play, against the substitute engine.
#include "video/QelVideoPlayerManager.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "QelFakeEngine.h"
#include "platform/utils/QelTestTempDir.h"
#include "segment_cache/QelPackedPlaylist.h"
#include "utils/QelCode.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"

namespace fake = qel::fake_engine;
namespace fs = std::filesystem;

namespace {

const std::map<std::wstring, std::wstring> kNoDigests;

class CacheTest : public ::testing::Test {
protected:
    void SetUp() override { fake::Reset(); }
    std::wstring Root() const { return m_dir.Path(); }  // ends with the separator
    fs::path RootPath() const { return QelTestTempDir::NativePath(m_dir.Path()); }

    QelTestTempDir m_dir;
};

// The folder's name from the URL and the update time is the remote play tests' to check.
TEST_F(CacheTest, DownloadPathIsNormalisedAndCreatedAndTheFolderFoundOnceThePlaylistIsThere) {
    QelVideoPlayerManager manager;
    manager.SetVideoDownloadPath(QelString::StringReplace(Root(), kQelPathSeparator, L"/") + L"videos");
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(Root() + L"videos"));
    manager.SetVideoDownloadPath(L"");  // keeps the folder

    const std::wstring strUrl = L"https://h/v/index.m3u8";
    EXPECT_EQ(manager.GetM3u8File(strUrl), L"");
    std::wstring strFirst, strAgain;
    manager.GetVideoDownloadPath(strFirst);
    EXPECT_EQ(strFirst.rfind(Root() + L"videos" + kQelPathSeparator, 0), 0u) << QelString::UnicodeToUtf8(strFirst);
    manager.GetM3u8File(strUrl);
    manager.GetVideoDownloadPath(strAgain);
    EXPECT_EQ(strFirst, strAgain);  // the update time, fixed at the first name, is kept

    QelFileUtils::CreateDir(strFirst);
    std::ofstream(QelString::UnicodeToAnsi(strFirst + L"index.m3u8")) << "#EXTM3U\n";
    EXPECT_EQ(manager.GetM3u8File(strUrl), strFirst + L"index.m3u8");
}

TEST_F(CacheTest, RemotePlaylistInCapitalsIsCachedAndWaitsForItsSegments) {
    QelVideoPlayerManager manager;
    manager.SetVideoDownloadPath(Root());
    manager.SetVideoUpdateTime(7);
    // Nothing listens on port 9: the playlist download fails, nothing is opened.
    EXPECT_TRUE(manager.Play(L"HTTPS://127.0.0.1:9/V/Clip.M3U8", kNoDigests, 0));
    std::wstring strFolder;
    manager.GetVideoDownloadPath(strFolder);
    EXPECT_EQ(strFolder, Root() + QelCode::Md5Encrypt("HTTPS://127.0.0.1:9/V/Clip.M3U8#7") + kQelPathSeparator);
    EXPECT_EQ(fake::CallNames(), "");
    manager.Stop();
}

struct PlainSourceCase {
    const char* szWhat;
    const wchar_t* szUrl;
};

class PlainSourceTest : public CacheTest, public ::testing::WithParamInterface<PlainSourceCase> {};

TEST_P(PlainSourceTest, OpensTheEngineAtOnceWithTheSourceItself) {
    QelVideoPlayerManager manager;
    manager.SetVideoDownloadPath(Root());
    EXPECT_TRUE(manager.Play(GetParam().szUrl, kNoDigests, 0));
    const auto calls = fake::Calls();
    ASSERT_FALSE(calls.empty()) << GetParam().szWhat;
    EXPECT_EQ(calls[0].strName, "Open");
    EXPECT_EQ(calls[0].strPath, QelString::UnicodeToAnsi(GetParam().szUrl));
    EXPECT_EQ(calls[0].nSegments, 0u);
    EXPECT_TRUE(fs::is_empty(RootPath())) << "nothing cached for " << GetParam().szWhat;
    manager.Stop();
}

INSTANTIATE_TEST_SUITE_P(Sources, PlainSourceTest,
                         ::testing::Values(PlainSourceCase{"remote mp4", L"http://127.0.0.1:9/v/clip.mp4"},
                                           PlainSourceCase{"remote stream without extension", L"https://h/live"},
                                           PlainSourceCase{"local mp4", L"clip.MP4"},
                                           PlainSourceCase{"empty url", L""}));

TEST_F(CacheTest, LocalPlaylistGetsItsDurationFromPlayAndAMissingOneOpensAtOnce) {
    const fs::path playlist = RootPath() / "local.m3u8";
    std::ofstream(playlist) << "#EXTM3U\n#EXTINF:60.5,\na.ts\n#EXTINF:65.4,\nb.ts\n#EXT-X-ENDLIST\n";
    {
        QelVideoPlayerManager manager;
        manager.Play(playlist.wstring(), kNoDigests, 0);
        EXPECT_EQ(manager.GetVideoDuration(), 125000);  // 125.9 s, whole seconds first
        EXPECT_EQ(fake::CallNames().find("Open"), std::string::npos);
        manager.Stop();
    }
    fake::Reset();
    QelVideoPlayerManager manager;
    const fs::path missing = RootPath() / "missing.M3U8";
    manager.Play(missing.wstring(), kNoDigests, 0);
    ASSERT_FALSE(fake::Calls().empty());
    EXPECT_EQ(fake::Calls()[0].strPath, QelString::UnicodeToAnsi(missing.wstring()));
    EXPECT_EQ(manager.GetVideoDuration(), 0);
    manager.Stop();
}

TEST_F(CacheTest, APlaylistBeyondTheReadLimitPlaysNothing) {
    const fs::path playlist = RootPath() / "huge.m3u8";
    std::ofstream(playlist) << "#EXTM3U\n#EXTINF:1,\na.ts\n";
    fs::resize_file(playlist, qel::kMaxPlaylistBytes + 1);
    QelVideoPlayerManager manager;
    EXPECT_TRUE(manager.Play(playlist.wstring(), kNoDigests, 0));
    EXPECT_EQ(manager.GetVideoDuration(), 0);
    EXPECT_EQ(fake::CallNames(), "");
    manager.Stop();
}

TEST_F(CacheTest, PriorityChangesForUnknownOrLocalVideosDoNothing) {
    QelVideoPlayerManager manager;
    manager.SetVideoDownloadPath(Root());
    manager.UpdateDownloadPriority(L"http://h/never-played.m3u8", 3);
    manager.UpdateDownloadPriority(L"local.m3u8", 3);
    manager.UpdateDownloadPriority(L"", -1);
    EXPECT_EQ(fake::CallNames(), "");
}

}  // namespace
