// Which segment URIs keep their own name in the cache and which get an MD5 name, so that
// no playlist can write outside its video's folder or name a Windows device.
#include "segment_cache/QelSegmentFileName.h"

#include <gtest/gtest.h>

#include "QelTableNames.h"

#include "utils/QelCode.h"
#include "utils/QelString.h"

namespace {

struct NameCase {
    const char* pszBehaviour;
    const char* szUri;
    bool bKept;
    const char* szExtension;  // of the MD5 name when not kept
};

class SegmentFileNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(SegmentFileNameTest, KeepsPlainRelativePathsAndRenamesTheRest) {
    const NameCase& c = GetParam();
    const std::string strName = qel::SegmentCacheName(c.szUri);
    if (c.bKept) {
        EXPECT_EQ(strName, c.szUri) << c.pszBehaviour;
        return;
    }
    const std::string strMd5 = QelString::UnicodeToUtf8(QelCode::Md5Encrypt(c.szUri));
    EXPECT_EQ(strName, strMd5 + "." + c.szExtension) << c.pszBehaviour;
    EXPECT_EQ(strName.find_first_of("/\\:?#"), std::string::npos) << c.pszBehaviour;
}

INSTANTIATE_TEST_SUITE_P(
    Uris, SegmentFileNameTest,
    ::testing::Values(NameCase{"bare file name", "index0.ts", true, ""},
                      NameCase{"subfolder inside the video folder", "hd/seg-1.ts", true, ""},
                      NameCase{"non-ASCII name", "s\xC3\xA9gment.ts", true, ""},
                      NameCase{"parent folder in the middle", "a/../../evil.ts", false, "ts"},
                      NameCase{"current folder component", "./seg.ts", false, "ts"},
                      NameCase{"rooted path", "/etc/passwd", false, "ts"},
                      NameCase{"double slash", "a//b.ts", false, "ts"},
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
    qel_test::RowName());

TEST(SegmentFileName, OverlongUrisAreRenamedSoThePathStaysShort) {
    const std::string strUri = std::string(250, 'a') + ".ts";
    EXPECT_FALSE(qel::IsPlainRelativeSegmentPath(strUri));
    EXPECT_EQ(qel::SegmentCacheName(strUri).size(), 32u + 3u);
}

}  // namespace
