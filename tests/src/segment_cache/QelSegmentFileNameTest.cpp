#include "segment_cache/QelSegmentFileName.h"

#include <gtest/gtest.h>

#include "utils/QelCode.h"
#include "utils/QelString.h"

namespace {

struct NameCase {
    const char* szWhat;
    const char* szUri;
    bool bKept;
    const char* szExtension;  // of the MD5 name when not kept
};

class SegmentFileNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(SegmentFileNameTest, KeepsPlainRelativePathsAndRenamesTheRest) {
    const NameCase& c = GetParam();
    const std::string strName = qel::SegmentCacheName(c.szUri);
    if (c.bKept) {
        EXPECT_EQ(strName, c.szUri) << c.szWhat;
        return;
    }
    const std::string strMd5 = QelString::UnicodeToUtf8(QelCode::Md5Encrypt(c.szUri));
    EXPECT_EQ(strName, strMd5 + "." + c.szExtension) << c.szWhat;
    EXPECT_EQ(strName.find_first_of("/\\:?#"), std::string::npos) << c.szWhat;
}

INSTANTIATE_TEST_SUITE_P(
    Uris, SegmentFileNameTest,
    ::testing::Values(NameCase{"bare file name", "index0.ts", true, ""},
                      NameCase{"subfolder inside the video folder", "hd/seg-1.ts", true, ""},
                      NameCase{"non-ASCII name", "s\xC3\xA9gment.ts", true, ""},
                      NameCase{"parent folder", "../evil.ts", false, "ts"},
                      NameCase{"parent folder in the middle", "a/../../evil.ts", false, "ts"},
                      NameCase{"current folder component", "./seg.ts", false, "ts"},
                      NameCase{"rooted path", "/etc/passwd", false, "ts"},
                      NameCase{"double slash", "a//b.ts", false, "ts"},
                      NameCase{"trailing slash", "a/", false, "ts"},
                      NameCase{"drive letter", "C:\\Windows\\x.ts", false, "ts"},
                      NameCase{"backslash", "a\\b.aac", false, "aac"},
                      NameCase{"absolute URL", "http://cdn.example/v/seg9.ts", false, "ts"},
                      NameCase{"query string", "seg1.ts?token=abc", false, "ts"},
                      NameCase{"fragment", "seg1.m4s#t=1", false, "m4s"},
                      NameCase{"no extension", "segment", true, ""},
                      NameCase{"no extension with query", "segment?x=1", false, "ts"},
                      NameCase{"reserved device name", "con.ts", false, "ts"},
                      NameCase{"reserved device name with digit", "sub/LPT3", false, "ts"},
                      NameCase{"trailing dot", "seg.", false, "ts"},
                      NameCase{"control character", "seg\x01.ts", false, "ts"},
                      NameCase{"empty uri", "", false, "ts"},
                      NameCase{"forbidden character", "a|b.ts", false, "ts"}),
    [](const ::testing::TestParamInfo<NameCase>& info) {
        std::string strName = info.param.szWhat;
        for (char& c : strName)
            c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        return strName;
    });

TEST(SegmentFileName, OverlongUrisAreRenamedSoThePathStaysShort) {
    const std::string strUri = std::string(250, 'a') + ".ts";
    EXPECT_FALSE(qel::IsPlainRelativeSegmentPath(strUri));
    EXPECT_EQ(qel::SegmentCacheName(strUri).size(), 32u + 3u);
}

}  // namespace
