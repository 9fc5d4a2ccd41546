// MD5 and SHA-256 of files and keys, against what coreutils print for the same bytes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "QelFileTestHelpers.h"
#include "QelTestTempDir.h"
#include "utils/QelCode.h"
#include "utils/QelString.h"

namespace {

// Deterministic bytes (a 32-bit LCG's top byte). The digests below are what md5sum and
// sha256sum print for the same bytes; on Linux the tools are also run on the files.
std::string Generated(size_t n) {
    std::string out(n, '\0');
    std::uint32_t s = 0x12345678u;
    for (size_t i = 0; i < n; ++i) {
        s = s * 1664525u + 1013904223u;
        out[i] = static_cast<char>(s >> 24);
    }
    return out;
}

struct DigestCase {
    size_t nSize;
    std::wstring strMd5, strSha256;
};

class FileDigestTest : public ::testing::TestWithParam<DigestCase> {
protected:
    QelTestTempDir m_dir;
};

#ifndef _WIN32
std::wstring ToolDigest(const char* pTool, const std::wstring& path) {
    const std::string command = std::string(pTool) + " '" + QelString::UnicodeToUtf8(path) + "'";
    FILE* pPipe = ::popen(command.c_str(), "r");
    if (pPipe == nullptr) return L"<no tool>";
    char line[256] = {};
    const bool bRead = std::fgets(line, sizeof(line), pPipe) != nullptr;
    ::pclose(pPipe);
    const std::string text = bRead ? std::string(line) : std::string();
    return QelString::Utf8ToUnicode(text.substr(0, text.find(' ')));
}
#endif

TEST_P(FileDigestTest, DigestsEqualTheCoreutilsTools) {
    const DigestCase& c = GetParam();
    const std::wstring path = m_dir / (L"content-" + std::to_wstring(c.nSize) + L"-\u00e9.bin");
    ASSERT_TRUE(WriteWholeFile(path, Generated(c.nSize)));

    std::wstring sha256 = L"stale", md5 = L"stale";
    EXPECT_TRUE(QelCode::SHA256File(path, sha256));
    EXPECT_TRUE(QelCode::MD5File(path, md5));
    EXPECT_EQ(sha256, c.strSha256);
    EXPECT_EQ(md5, c.strMd5);
    EXPECT_EQ(QelCode::Sha256Hex(Generated(c.nSize).data(), c.nSize), c.strSha256);
#ifndef _WIN32
    EXPECT_EQ(ToolDigest("sha256sum", path), c.strSha256);
    EXPECT_EQ(ToolDigest("md5sum", path), c.strMd5);
#endif
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, FileDigestTest,
    ::testing::Values(
        DigestCase{0, L"d41d8cd98f00b204e9800998ecf8427e",
                   L"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        DigestCase{1, L"7b774effe4a349c6dd82ad4f4f21d34c",
                   L"0bfe935e70c321c7ca3afc75ce0d0ca2f98b5422e008bb31c00c6d7f1f1c0ad6"},
        // One byte past the 1 MiB read block.
        DigestCase{1048577, L"c52eeb0491d0e8c09d8bfb28f572b35c",
                   L"269c4baaed8d6b34515e11c48075e673103f8fe8908479774b4d735dd6a1df36"}),
    [](const ::testing::TestParamInfo<DigestCase>& info) { return "bytes_" + std::to_string(info.param.nSize); });

TEST(QelCodeTest, UnreadableFilesGiveFalseAndNoDigest) {
    QelTestTempDir dir;
    for (const std::wstring& path : {dir / L"missing.ts", dir.Path(), std::wstring()}) {
        std::wstring sha256 = L"stale", md5 = L"stale";
        EXPECT_FALSE(QelCode::SHA256File(path, sha256));
        EXPECT_FALSE(QelCode::MD5File(path, md5));
        EXPECT_EQ(sha256 + md5, L"");
    }
}

// A cache folder name is the MD5 of a UTF-8 key built from a wide URL, so both builds
// (UTF-16 and UTF-32 wide strings) must produce the same bytes and the same digest.
TEST(QelCodeTest, Md5EncryptOfNonAsciiKeyIsTheSameOnEveryBuild) {
    const std::wstring url = L"http://\u4f8b\u5b50.\u6d4b\u8bd5/\u89c6\u9891/\u00edndex\U0001F3AC.m3u8#1700000000";
    const std::string key = QelString::UnicodeToUtf8(url);
    EXPECT_EQ(key, "http://\xe4\xbe\x8b\xe5\xad\x90.\xe6\xb5\x8b\xe8\xaf\x95/\xe8\xa7\x86\xe9\xa2\x91/"
                   "\xc3\xadndex\xf0\x9f\x8e\xac.m3u8#1700000000");
    EXPECT_EQ(QelCode::Md5Encrypt(key), L"4af60303eaafb0dcebc1f517f56476e7");
}

}  // namespace
