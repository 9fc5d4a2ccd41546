// File and folder operations on wide paths. Paths are handed to the system in its native
// form: the W calls on Windows, UTF-8 elsewhere. No call throws; failures are results.
#pragma once

#include <string>
#include <vector>

class QelFileUtils {
public:
    // Non-zero when a regular file exists at the path; 0 for folders, null or empty paths.
    static int IsFileExist(const wchar_t* path);
    static int IsFileExist(const std::wstring& path);

    static bool IsDirectoryExist(const std::wstring& path);

    // Creates the folder and every missing parent; true when the folder exists afterwards.
    static bool CreateDir(const std::wstring& path);

    // Deletes a file; false when it was not there or could not be deleted.
    static bool DelFile(const std::wstring& path);

    // Moves a file, replacing an existing target atomically where the system can. Between
    // file systems the file is copied beside the target and renamed into place, then the
    // source is deleted. On failure the source stays and nothing partial is left at `to`.
    static bool TransferFile(const std::wstring& from, const std::wstring& to);

    // Names of the entries of a folder (files and folders alike, without "." and ".."), in
    // no particular order; empty when the folder cannot be read.
    static std::vector<std::wstring> ListFolder(const std::wstring& folder);

    // Size in bytes of a regular file, -1 when there is none.
    static long long GetFileSize(const std::wstring& path);

    // The folder part of a path, ending with its separator (L"D:\\v\\clip.MP4" ->
    // L"D:\\v\\"); empty when there is no separator. Windows accepts '\\' and '/'.
    static std::wstring GetDirectoryPath(const std::wstring& path);

    // Text after the last '.' of the last component, without the dot, case kept; a query
    // string is not stripped. Empty when the last component has no '.'.
    static std::wstring GetFileExtension(const std::wstring& path);

    // The last component of a path or URL: text after the last separator or '/', query
    // kept (L"http://h/a/index.m3u8?x=1" -> L"index.m3u8?x=1").
    static std::wstring GetFileFullName(const std::wstring& path);

    // Folder of the host executable, ending with the separator; empty if unknown.
    static std::wstring GetAppPath();

    // Full file name of the executable or shared library that contains the address;
    // empty when no loaded module contains it.
    static std::wstring GetModulePath(const void* addressInModule);
};
