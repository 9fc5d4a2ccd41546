// Small file helpers for the tests, written with QelFile itself.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "QelTestTempDir.h"
#include "utils/QelFile.h"
#include "utils/QelString.h"

inline bool WriteWholeFile(const std::wstring& path, const std::string& content) {
    QelFile file;
    return file.Open(path, true) && file.Write(content.data(), content.size()) == content.size();
}

inline std::string ReadWholeFile(const std::wstring& path) {
    QelFile file;
    if (!file.Open(path, false)) return "<missing>";
    std::string content(static_cast<size_t>(file.GetSize()), '\0');
    content.resize(file.Read(&content[0], content.size()));
    return content;
}

// Names of the entries of a folder.
inline std::set<std::wstring> ListFolder(const std::wstring& dir) {
    std::set<std::wstring> names;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(QelTestTempDir::NativePath(dir), ec), end; !ec && it != end;
         it.increment(ec))
        names.insert(QelTestTempDir::WidePath(it->path().filename()));
    return names;
}

// As a downloader does: written to a temporary beside the target, then renamed into place,
// so that a reader never sees part of it.
inline bool MoveIntoPlace(const std::wstring& path, const std::string& content) {
    const std::wstring temporary = path + L".tmp";
    std::error_code ec;
    if (!WriteWholeFile(temporary, content)) return false;
    std::filesystem::rename(QelTestTempDir::NativePath(temporary), QelTestTempDir::NativePath(path), ec);
    return !ec;
}
