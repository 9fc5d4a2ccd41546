// The video files a manager and its shallow copies created: deleted when the last copy
// goes, so that no download thread outlives the manager it reports to.
#pragma once

#include <set>

class QelVideoFile;

class QelVideoFileSet {
public:
    QelVideoFileSet() = default;
    ~QelVideoFileSet();
    QelVideoFileSet(const QelVideoFileSet&) = delete;
    QelVideoFileSet& operator=(const QelVideoFileSet&) = delete;

    void Add(QelVideoFile* pFile) { m_setFiles.insert(pFile); }
    // Deletes the file if this set owns it.
    void Delete(QelVideoFile* pFile);

private:
    std::set<QelVideoFile*> m_setFiles;
};
