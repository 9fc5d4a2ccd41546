#include "video/QelVideoFileSet.h"

#include "segment_cache/QelVideoFile.h"

QelVideoFileSet::~QelVideoFileSet() {
    for (QelVideoFile* pFile : m_setFiles)
        delete pFile;
}

void QelVideoFileSet::Delete(QelVideoFile* pFile) {
    if (m_setFiles.erase(pFile) > 0)
        delete pFile;
}
