// A fresh folder under the system's temporary folder, removed with everything in it at the
// end of the test. Paths are wide and end with the separator.
#pragma once

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <system_error>

#include "utils/QelFileUtils.h"
#include "utils/QelOS.h"
#include "utils/QelPath.h"
#include "utils/QelString.h"

class QelTestTempDir {
public:
    // `parent` ends with the separator; the system's temporary folder by default.
    explicit QelTestTempDir(const std::wstring& parent = SystemTempPath()) {
        static std::atomic<unsigned> s_nCounter{0};
        m_strPath = parent + L"qel_utils_test_" + std::to_wstring(QelOS::CurrentProcessId()) + L"_" +
                    std::to_wstring(s_nCounter.fetch_add(1)) + kQelPathSeparator;
        QelFileUtils::CreateDir(m_strPath);
    }
    ~QelTestTempDir() {
        std::error_code ec;
        std::filesystem::remove_all(NativePath(m_strPath), ec);
    }
    QelTestTempDir(const QelTestTempDir&) = delete;
    QelTestTempDir& operator=(const QelTestTempDir&) = delete;

    const std::wstring& Path() const { return m_strPath; }
    // A path inside; '/' in `name` becomes the separator.
    std::wstring operator/(std::wstring name) const {
        std::replace(name.begin(), name.end(), L'/', kQelPathSeparatorChar);
        return m_strPath + name;
    }

    // Wide paths as the system's: UTF-16 on Windows, UTF-8 bytes on Linux.
    static std::filesystem::path NativePath(const std::wstring& path) {
#ifdef _WIN32
        return std::filesystem::path(path);
#else
        return std::filesystem::path(QelString::UnicodeToUtf8(path));
#endif
    }
    static std::wstring WidePath(const std::filesystem::path& path) {
#ifdef _WIN32
        return path.wstring();
#else
        return QelString::Utf8ToUnicode(path.string());
#endif
    }

    // The system's temporary folder (TMPDIR on Linux, TEMP on Windows), ending with the separator.
    static std::wstring SystemTempPath() {
        std::error_code ec;
        std::wstring dir = WidePath(std::filesystem::temp_directory_path(ec));
        if (dir.empty() || dir.back() != kQelPathSeparatorChar) dir += kQelPathSeparatorChar;
        return dir;
    }

private:
    std::wstring m_strPath;
};
