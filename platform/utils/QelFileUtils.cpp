// The pure path-text helpers of QelFileUtils; the system calls live in the per-platform files.
#include "utils/QelFileUtils.h"

namespace {

bool IsSeparator(wchar_t c) {
#ifdef _WIN32
    return c == L'\\' || c == L'/';
#else
    return c == L'/';
#endif
}

size_t LastSeparator(const std::wstring& path) {
    for (size_t i = path.size(); i > 0; --i) {
        if (IsSeparator(path[i - 1])) return i - 1;
    }
    return std::wstring::npos;
}

}  // namespace

int QelFileUtils::IsFileExist(const std::wstring& path) { return IsFileExist(path.c_str()); }

std::wstring QelFileUtils::GetDirectoryPath(const std::wstring& path) {
    const size_t pos = LastSeparator(path);
    return pos == std::wstring::npos ? std::wstring() : path.substr(0, pos + 1);
}

std::wstring QelFileUtils::GetFileFullName(const std::wstring& path) {
    // URLs always use '/', so it separates on both systems.
    size_t pos = LastSeparator(path);
    const size_t slash = path.rfind(L'/');
    if (slash != std::wstring::npos && (pos == std::wstring::npos || slash > pos)) pos = slash;
    return pos == std::wstring::npos ? path : path.substr(pos + 1);
}

std::wstring QelFileUtils::GetFileExtension(const std::wstring& path) {
    const std::wstring name = GetFileFullName(path);
    const size_t dot = name.rfind(L'.');
    return dot == std::wstring::npos ? std::wstring() : name.substr(dot + 1);
}
