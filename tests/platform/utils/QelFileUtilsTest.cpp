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
        PathCase{L"D:\\v/w\\x.ts", L"D:\\v/w\\", L"x.ts", L"ts"}
#else
        // A backslash is an ordinary character of a POSIX file name.
        PathCase{L"/v/a\\b.ts", L"/v/", L"a\\b.ts", L"ts"}
#endif
        ));

class QelFileUtilsTest : public ::testing::Test {
protected:
    QelTestTempDir m_dir;
};

// What each call makes of an empty path, a missing one, a folder and a file.
TEST_F(QelFileUtilsTest, EachCallTellsAFileFromAFolderAMissingAndAnEmptyPath) {
    const std::wstring file = m_dir / L"a.ts", folder = m_dir / L"sub";
    ASSERT_TRUE(WriteWholeFile(file, "xyz"));
    ASSERT_TRUE(QelFileUtils::CreateDir(folder));
    const auto describe = [](const std::wstring& path) {
        QelFile reader;
        return "file=" + std::to_string(QelFileUtils::IsFileExist(path) != 0) +
               " dir=" + std::to_string(QelFileUtils::IsDirectoryExist(path)) +
               " size=" + std::to_string(QelFileUtils::GetFileSize(path)) +
               " read=" + std::to_string(reader.Open(path, false));
    };
    EXPECT_EQ(describe(L""), "file=0 dir=0 size=-1 read=0");
    EXPECT_EQ(describe(m_dir / L"missing"), "file=0 dir=0 size=-1 read=0");
    EXPECT_EQ(describe(folder), "file=0 dir=1 size=-1 read=0");
    EXPECT_EQ(describe(file), "file=1 dir=0 size=3 read=1");
    EXPECT_EQ(QelFileUtils::IsFileExist(static_cast<const wchar_t*>(nullptr)), 0);

    // Writing and deleting take files only, and only where they can be.
    QelFile writer;
    EXPECT_FALSE(writer.Open(folder, true) || writer.Open(m_dir / L"missing/new", true) || writer.Open(L"", true));
    EXPECT_FALSE(QelFileUtils::DelFile(folder) || QelFileUtils::DelFile(L""));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(folder));
    EXPECT_TRUE(QelFileUtils::DelFile(file));
    EXPECT_FALSE(QelFileUtils::DelFile(file)) << "already gone";
    EXPECT_EQ(ListFolder(m_dir.Path()), std::set<std::wstring>{L"sub"});
}

TEST_F(QelFileUtilsTest, CreateDirMakesMissingParents) {
    const std::wstring deep = m_dir / L"a/b/c";
    EXPECT_TRUE(QelFileUtils::CreateDir(deep));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(deep));
    EXPECT_TRUE(QelFileUtils::CreateDir(deep)) << "an existing folder is success";
    EXPECT_TRUE(QelFileUtils::CreateDir(m_dir / L"d/e/"));
    EXPECT_TRUE(QelFileUtils::IsDirectoryExist(m_dir / L"d/e"));

    // Non-ASCII folder names reach the system intact.
    EXPECT_TRUE(QelFileUtils::CreateDir(m_dir / L"\u89c6\u9891-\u00e9"));
    EXPECT_EQ(ListFolder(m_dir.Path()).count(L"\u89c6\u9891-\u00e9"), 1u);

    const std::wstring file = m_dir / L"plain";
    ASSERT_TRUE(WriteWholeFile(file, "x"));
    EXPECT_FALSE(QelFileUtils::CreateDir(file));
    EXPECT_FALSE(QelFileUtils::CreateDir(file + kSep + L"sub"));
    EXPECT_FALSE(QelFileUtils::CreateDir(L""));
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
    const std::wstring from = m_dir / L"seg.ts.tmp", folder = m_dir / L"folder";
    ASSERT_TRUE(WriteWholeFile(from, "segment"));
    ASSERT_TRUE(QelFileUtils::CreateDir(folder));
    // No such folder, a folder in the way, no name; then no source, a folder as the source.
    for (const std::wstring& to : {m_dir / L"missing/seg.ts", folder, std::wstring()})
        EXPECT_FALSE(QelFileUtils::TransferFile(from, to)) << QelString::UnicodeToUtf8(to);
    EXPECT_FALSE(QelFileUtils::TransferFile(m_dir / L"missing.tmp", m_dir / L"x.ts"));
    EXPECT_FALSE(QelFileUtils::TransferFile(folder, m_dir / L"moved"));
    EXPECT_EQ(ReadWholeFile(from), "segment");
    EXPECT_EQ(ListFolder(m_dir.Path()), (std::set<std::wstring>{L"seg.ts.tmp", L"folder"}));
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

// Whole reads and writes are every helper's here; a file that is not open does nothing.
TEST_F(QelFileUtilsTest, QelFileSeeksReadsShortAtTheEndAndTruncatesForWriting) {
    const std::wstring path = m_dir / L"\u6587\u4ef6.bin";
    QelFile file;
    char c = 0;
    EXPECT_EQ(file.Read(&c, 1) + file.Write("x", 1), 0u);
    EXPECT_EQ(file.GetSize(), -1);
    EXPECT_FALSE(file.Seek(0));

    ASSERT_TRUE(WriteWholeFile(path, "0123456789"));
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

void FunctionInThisExecutable() {}

TEST(QelModulePathTest, AppPathAndModulePaths) {
    const std::wstring app = QelFileUtils::GetAppPath();
    ASSERT_FALSE(app.empty());
    EXPECT_TRUE(QelString::IsEndWith(app, kQelPathSeparator));

    const std::wstring self = QelFileUtils::GetModulePath(reinterpret_cast<const void*>(&FunctionInThisExecutable));
    EXPECT_EQ(self, app + QelString::Utf8ToUnicode(QEL_TEST_EXE_NAME));

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
