#include "segment_cache/QelSegmentFileName.h"

#include <cctype>

#include "utils/QelCode.h"
#include "utils/QelString.h"

namespace qel {

namespace {

bool IsForbiddenInWindowsName(unsigned char c) {
    if (c < 0x20 || c == 0x7F)
        return true;
    switch (c) {
    case '<': case '>': case ':': case '"': case '\\': case '|': case '?': case '*': case '#':
        return true;
    default:
        return false;
    }
}

std::string UpperAscii(std::string str) {
    for (char& c : str)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return str;
}

// CON, PRN, AUX, NUL, COM1-9 and LPT1-9 name devices on Windows, with any extension.
bool IsReservedWindowsName(const std::string& strComponent) {
    const std::string strBase = UpperAscii(strComponent.substr(0, strComponent.find('.')));
    if (strBase == "CON" || strBase == "PRN" || strBase == "AUX" || strBase == "NUL")
        return true;
    return strBase.size() == 4 && (strBase.compare(0, 3, "COM") == 0 || strBase.compare(0, 3, "LPT") == 0) &&
           strBase[3] >= '1' && strBase[3] <= '9';
}

bool IsPlainComponent(const std::string& strComponent) {
    if (strComponent.empty() || strComponent == "." || strComponent == "..")
        return false;
    // Windows drops trailing dots and spaces, which would merge distinct names.
    const char last = strComponent.back();
    if (last == '.' || last == ' ')
        return false;
    for (unsigned char c : strComponent) {
        if (IsForbiddenInWindowsName(c))
            return false;
    }
    return !IsReservedWindowsName(strComponent);
}

// The extension of the URI's path part: after the last '.' of its last component.
std::string PathExtension(const std::string& strUri) {
    std::string strPath = strUri.substr(0, strUri.find_first_of("?#"));
    const std::size_t slash = strPath.find_last_of("/\\");
    if (slash != std::string::npos)
        strPath.erase(0, slash + 1);
    const std::size_t dot = strPath.rfind('.');
    if (dot == std::string::npos || dot + 1 == strPath.size())
        return "ts";
    std::string strExt = strPath.substr(dot + 1);
    for (unsigned char c : strExt) {
        if (!std::isalnum(c))
            return "ts";
    }
    return strExt;
}

}  // namespace

bool IsPlainRelativeSegmentPath(const std::string& strUri) {
    if (strUri.empty() || strUri.size() > 200)
        return false;
    std::size_t start = 0;
    for (;;) {
        const std::size_t slash = strUri.find('/', start);
        if (!IsPlainComponent(strUri.substr(start, slash - start)))
            return false;
        if (slash == std::string::npos)
            return true;
        start = slash + 1;
    }
}

std::string SegmentCacheName(const std::string& strUri) {
    if (IsPlainRelativeSegmentPath(strUri))
        return strUri;
    return QelString::UnicodeToUtf8(QelCode::Md5Encrypt(strUri)) + "." + PathExtension(strUri);
}

}  // namespace qel
