// The private temporary of one download into the cache: "<cache file>.qeltmp-<process id>-<n>"
// beside the cache file, written by that download alone and moved over the cache file only
// once its bytes are accepted, so that a cache file never holds unverified bytes, whatever
// happens to the process meanwhile.
//
// While the object lives its name is registered as live in the process, and
// RemoveLeftovers never touches it; a download of another process is recognised by its
// process id. The file goes with the object unless it was moved into place. Thread-safe.
#pragma once

#include <string>

class QelCacheTemporary {
public:
    explicit QelCacheTemporary(const std::wstring& strCachePath);
    ~QelCacheTemporary();
    QelCacheTemporary(const QelCacheTemporary&) = delete;
    QelCacheTemporary& operator=(const QelCacheTemporary&) = delete;

    const std::wstring& Path() const { return m_strPath; }
    // Path() in the ANSI code page, as QelHttp takes it.
    std::string PathA() const;

    // Moves the temporary over the cache file (replacing it); true when a cache file
    // exists afterwards.
    bool MoveIntoPlace();

    // Removes what earlier downloads of the cache file left beside it and no live download
    // writes: temporaries of this process that are no longer live, those of processes that
    // have ended, the ".tmp" of earlier versions, and the partial files QelHttp writes
    // beside any of them. Names of other files (such as "a.ts2" beside "a.ts") never match.
    static void RemoveLeftovers(const std::wstring& strCachePath);

private:
    std::wstring m_strCachePath;
    std::wstring m_strPath;
};
