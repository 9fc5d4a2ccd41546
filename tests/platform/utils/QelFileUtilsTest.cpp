// Path text, files and folders, TransferFile within and across file systems, QelFile,
// and module paths, on the real file system.
#include <gtest/gtest.h>

#include <string>

#include "QelFileTestHelpers.h"
#include "QelTestTempDir.h"
#include "utils/QelFileUtils.h"
#include "utils/QelPath.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <sys/stat.h>
#endif

namespace {

const std::wstring kSep = kQelPathSeparator;

struct PathCase {
    std::wstring strPath, strDir, strName, strExt;
};

class PathTextTest : public ::testing::TestWithParam<PathCase> {};

TEST_P(PathTextTest, SplitsPathText) {
    const PathCase& c = GetParam();
    EXPECT_EQ(QelFileUtils::GetDirectoryPath(c.strPath), c.strDir);
    EXPECT_EQ(QelFileUtils::GetFileFullName(c.strPath), c.strName);
    EXPECT_EQ(QelFileUtils::GetFileExtension(c.strPath), c.strExt);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PathTextTest,
    ::testing::Values(
        PathCase{L"", L"", L"", L""},
        PathCase{L"noext", L"", L"noext", L""},
        PathCase{L"/v.d/file", L"/v.d/", L"file", L""},
        PathCase{L"/v/archive.tar.gz", L"/v/", L"archive.tar.gz", L"gz"},
        PathCase{L"/v/.hidden", L"/v/", L".hidden", L"hidden"},
        PathCase{L"/v/dir/", L"/v/dir/", L"", L""},
        PathCase{L"http://h/a/index.m3u8?x=1", L"http://h/a/", L"index.m3u8?x=1", L"m3u8?x=1"},
#ifdef _WIN32
        PathCase{L"D:\\v/w\\x.ts", L"D:\\v/w\\", L"x.ts", L"ts"},
        PathCase{L"D:\\v.d\\file", L"D:\\v.d\\", L"file", L""}
#else
        // A backslash is an ordinary character of a POSIX file name.
        PathCase{L"/v/a\\b.ts", L"/v/", L"a\\b.ts", L"ts"}
#endif
        ));

class QelFileUtilsTest : public ::testing::Test {
protected:
    QelTestTempDir m_dir;
};

TEST_F(QelFileUtilsTest, ExistenceOfFilesAndFolders) {
    const std::wstring file = m_dir / L"a.ts";
    ASSERT_TRUE(WriteWholeFile(file, "x"));

    EXPECT_EQ(QelFileUtils::IsFileExist(static_cast<const wchar_t*>(nullptr)), 0);
    EXPECT_EQ(QelFileUtils::IsFileExist(L""), 0);
    EXPECT_EQ(QelFileUtils::IsFileExist(m_dir / L"missing.ts"), 0);
    EXPECT_EQ(QelFileUtils::IsFileExist(m_dir.Path()), 0);
    EXPECT_NE(QelFileUtils::IsFileExist(file.c_str()), 0);
    EXPECT_NE(QelFileUtils::IsFileExist(file), 0);

    EXPECT_FALSE(QelFileUtils::IsDirectoryExist(L""));
    EXPECT_FALSE(QelFileUtils::IsDirectoryExist(file));
    EXPECT_FALSE(QelFileUtils::IsDirectoryExist(m_dir / L"missing"));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(m_dir.Path()));
}

TEST_F(QelFileUtilsTest, CreateDirMakesMissingParents) {
    const std::wstring deep = m_dir / L"a/b/c";
    EXPECT_TRUE(QelFileUtils::CreateDir(deep));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(deep));
    EXPECT_TRUE(QelFileUtils::CreateDir(deep)) << "an existing folder is success";
    EXPECT_TRUE(QelFileUtils::CreateDir(m_dir / L"d/e/"));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(m_dir / L"d/e"));

    // Non-ASCII folder names reach the system intact.
    const std::wstring named = m_dir / L"\u89c6\u9891-\u00e9";
    EXPECT_TRUE(QelFileUtils::CreateDir(named));
    EXPECT_EQ(ListFolder(m_dir.Path()).count(L"\u89c6\u9891-\u00e9"), 1u);

    const std::wstring file = m_dir / L"plain";
    ASSERT_TRUE(WriteWholeFile(file, "x"));
    EXPECT_FALSE(QelFileUtils::CreateDir(file));
    EXPECT_FALSE(QelFileUtils::CreateDir(file + kSep + L"sub"));
    EXPECT_FALSE(QelFileUtils::CreateDir(L""));
}

TEST_F(QelFileUtilsTest, DelFileDeletesFilesOnly) {
    const std::wstring file = m_dir / L"a.ts";
    ASSERT_TRUE(WriteWholeFile(file, "x"));
    EXPECT_TRUE(QelFileUtils::DelFile(file));
    EXPECT_EQ(QelFileUtils::IsFileExist(file), 0);
    EXPECT_FALSE(QelFileUtils::DelFile(file));
    EXPECT_FALSE(QelFileUtils::DelFile(L""));

    const std::wstring sub = m_dir / L"sub";
    ASSERT_TRUE(QelFileUtils::CreateDir(sub));
    EXPECT_FALSE(QelFileUtils::DelFile(sub));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(sub));
}

TEST_F(QelFileUtilsTest, TransferFileReplacesAnExistingTarget) {
    const std::wstring from = m_dir / L"seg.ts.tmp";
    const std::wstring to = m_dir / L"\u00e9.ts";
    ASSERT_TRUE(WriteWholeFile(from, "new content"));
    ASSERT_TRUE(WriteWholeFile(to, "old, longer content"));
    EXPECT_TRUE(QelFileUtils::TransferFile(from, to));
    EXPECT_EQ(ReadWholeFile(to), "new content");
    EXPECT_EQ(ListFolder(m_dir.Path()), std::set<std::wstring>{L"\u00e9.ts"});
}

TEST_F(QelFileUtilsTest, FailedTransferKeepsTheSourceAndLeavesNoTarget) {
    const std::wstring from = m_dir / L"seg.ts.tmp";
    ASSERT_TRUE(WriteWholeFile(from, "segment"));
    const std::wstring folderTarget = m_dir / L"folder";
    ASSERT_TRUE(QelFileUtils::CreateDir(folderTarget));

    const std::wstring badTargets[] = {
        m_dir / L"missing/seg.ts",  // folder does not exist
        folderTarget,                            // a folder in the way
        L"",
    };
    for (const std::wstring& to : badTargets) {
        EXPECT_FALSE(QelFileUtils::TransferFile(from, to)) << QelString::UnicodeToUtf8(to);
        EXPECT_EQ(ReadWholeFile(from), "segment");
    }
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(folderTarget));
    EXPECT_EQ(ListFolder(m_dir.Path()), (std::set<std::wstring>{L"seg.ts.tmp", L"folder"}));

    EXPECT_FALSE(QelFileUtils::TransferFile(m_dir / L"missing.tmp", m_dir / L"x.ts"));
    EXPECT_FALSE(QelFileUtils::TransferFile(folderTarget, m_dir / L"moved"));
    EXPECT_EQ(QelFileUtils::IsFileExist(m_dir / L"x.ts"), 0);
}

// A folder on another file system than the temporary folder, or empty. /dev/shm is a
// tmpfs on Linux; under Wine it is reached through drive Z:, and the rename across file
// systems fails there just as between two Windows volumes.
std::wstring SecondFileSystemFolder(const std::wstring& tempDir) {
#ifdef _WIN32
    (void)tempDir;
    const bool bWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    return bWine && QelFileUtils::IsDirectoryExist(L"Z:\\dev\\shm") ? L"Z:\\dev\\shm\\" : L"";
#else
    struct stat shm, tmp;
    if (::stat("/dev/shm", &shm) != 0 || ::stat(QelString::UnicodeToUtf8(tempDir).c_str(), &tmp) != 0 ||
        shm.st_dev == tmp.st_dev) {
        return L"";
    }
    return L"/dev/shm/";
#endif
}

TEST_F(QelFileUtilsTest, TransferFileAcrossFileSystemsReplacesTheTarget) {
    const std::wstring other = SecondFileSystemFolder(m_dir.Path());
    if (other.empty()) GTEST_SKIP() << "no second file system next to the temporary folder";
    QelTestTempDir otherDir(other);
    const std::wstring from = otherDir / L"seg.ts.tmp";
    const std::string content(3 * 1024 * 1024 + 5, 'q');
    ASSERT_TRUE(WriteWholeFile(from, content));
    const std::wstring to = m_dir / L"seg.ts";
    ASSERT_TRUE(WriteWholeFile(to, "old"));

    EXPECT_TRUE(QelFileUtils::TransferFile(from, to));
    EXPECT_EQ(QelFileUtils::IsFileExist(from), 0);
    EXPECT_EQ(ReadWholeFile(to), content);
    EXPECT_EQ(ListFolder(m_dir.Path()), std::set<std::wstring>{L"seg.ts"}) << "no copy left beside it";
}

TEST_F(QelFileUtilsTest, GetFileSizeIs64Bit) {
    EXPECT_EQ(QelFileUtils::GetFileSize(m_dir / L"missing"), -1);
    EXPECT_EQ(QelFileUtils::GetFileSize(L""), -1);
    EXPECT_EQ(QelFileUtils::GetFileSize(m_dir.Path()), -1);

    const std::wstring empty = m_dir / L"empty";
    ASSERT_TRUE(WriteWholeFile(empty, ""));
    EXPECT_EQ(QelFileUtils::GetFileSize(empty), 0);

    // A sparse file past 4 GiB: one byte written at that offset.
    const long long kFar = 5LL * 1024 * 1024 * 1024;
    const std::wstring big = m_dir / L"big";
    {
        QelFile file;
        ASSERT_TRUE(file.Open(big, true));
        ASSERT_TRUE(file.Seek(kFar));
        ASSERT_EQ(file.Write("z", 1), 1u);
        EXPECT_EQ(file.GetSize(), kFar + 1);
    }
    EXPECT_EQ(QelFileUtils::GetFileSize(big), kFar + 1);
}

TEST_F(QelFileUtilsTest, QelFileReadsWritesAndSeeks) {
    const std::wstring path = m_dir / L"\u6587\u4ef6.bin";
    QelFile file;
    EXPECT_FALSE(file.IsOpen());
    char c = 0;
    EXPECT_EQ(file.Read(&c, 1), 0u);
    EXPECT_EQ(file.Write("x", 1), 0u);
    EXPECT_EQ(file.GetSize(), -1);
    EXPECT_FALSE(file.Seek(0));

    ASSERT_TRUE(file.Open(path, true));
    EXPECT_EQ(file.Write("0123456789", 10), 10u);
    EXPECT_EQ(file.GetSize(), 10);
    file.Close();
    EXPECT_FALSE(file.IsOpen());

    ASSERT_TRUE(file.Open(path, false));
    EXPECT_TRUE(file.Seek(7));
    char buf[8] = {};
    EXPECT_EQ(file.Read(buf, sizeof(buf)), 3u);
    EXPECT_EQ(std::string(buf, 3), "789");
    EXPECT_EQ(file.Read(buf, sizeof(buf)), 0u);
    EXPECT_FALSE(file.Seek(-1));

    // Opening for writing truncates; reopening closes the previous file first.
    ASSERT_TRUE(file.Open(path, true));
    EXPECT_EQ(file.GetSize(), 0);
    file.Close();
    EXPECT_TRUE(QelFileUtils::DelFile(path)) << "nothing holds the file once closed";
}

TEST_F(QelFileUtilsTest, QelFileRefusesWhatItCannotOpen) {
    QelFile file;
    EXPECT_FALSE(file.Open(m_dir / L"missing", false));
    EXPECT_FALSE(file.Open(m_dir / L"missing/new", true));
    EXPECT_FALSE(file.Open(m_dir.Path(), false));
    EXPECT_FALSE(file.Open(m_dir.Path(), true));
    EXPECT_FALSE(file.Open(L"", false));
    EXPECT_FALSE(file.IsOpen());
}

void FunctionInThisExecutable() {}

TEST(QelModulePathTest, AppPathAndModulePaths) {
    const std::wstring app = QelFileUtils::GetAppPath();
    ASSERT_FALSE(app.empty());
    EXPECT_TRUE(QelString::IsEndWith(app, kQelPathSeparator));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(app));

    const std::wstring self = QelFileUtils::GetModulePath(reinterpret_cast<const void*>(&FunctionInThisExecutable));
    EXPECT_EQ(self, app + QelString::Utf8ToUnicode(QEL_TEST_EXE_NAME));
    EXPECT_NE(QelFileUtils::IsFileExist(self), 0);

    EXPECT_EQ(QelFileUtils::GetModulePath(nullptr), L"");

#ifdef _WIN32
    const void* pSystem = reinterpret_cast<const void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetTickCount"));
    EXPECT_TRUE(QelString::IsEndWith(QelString::ToLower(QelFileUtils::GetModulePath(pSystem)), L"\\kernel32.dll"));
#else
    const void* pSystem = ::dlsym(RTLD_DEFAULT, "getpid");
    const std::wstring lib = QelFileUtils::GetModulePath(pSystem);
    EXPECT_NE(lib.find(L"/libc"), std::wstring::npos) << QelString::UnicodeToUtf8(lib);
    EXPECT_NE(QelFileUtils::IsFileExist(lib), 0);
#endif
}

}  // namespace
