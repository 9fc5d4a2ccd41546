#include "support/TestSampleContent.h"

#include <fstream>
#include <sstream>

#include "utils/QelPath.h"
#include "utils/QelString.h"

namespace qel::test {

std::wstring SampleDir() {
    return QelString::Utf8ToUnicode(QEL_SAMPLE_DIR) + kQelPathSeparator;
}

std::wstring SampleFile(const std::string& strRelative) {
    return SampleDir() + QelString::StringReplace(QelString::Utf8ToUnicode(strRelative), L"/", kQelPathSeparator);
}

std::string SampleFileA(const std::string& strRelative) {
    return QelString::UnicodeToAnsi(SampleFile(strRelative));
}

std::map<std::string, std::string> SampleSegmentDigests() {
    std::map<std::string, std::string> digests;
    std::ifstream in(SampleFileA("hls/sha256.txt"));
    std::string strName, strDigest;
    while (in >> strName >> strDigest)
        digests[strName] = strDigest;
    return digests;
}

}  // namespace qel::test
