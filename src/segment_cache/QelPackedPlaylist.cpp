#include "segment_cache/QelPackedPlaylist.h"

#include <cstring>
#include <limits>

#include <zlib.h>

namespace qel
{
namespace
{

std::string UpToFirstZero(const char* pData, size_t nSize)
{
    const void* pZero = std::memchr(pData, 0, nSize);
    return std::string(pData, pZero ? static_cast<const char*>(pZero) - pData : nSize);
}

} // namespace

bool IsPackedPlaylist(const std::string& strFile)
{
    return strFile.size() >= kPackedPlaylistHeaderSize &&
           std::memcmp(strFile.data(), kPackedPlaylistMagic, kPackedPlaylistHeaderSize) == 0;
}

void XorPackedPayload(unsigned char* pPayload, size_t nSize)
{
    size_t nStep = nSize / 9;
    size_t nCount = 9;
    if (nStep == 0)
    {
        nStep = 1;
        nCount = nSize;
    }
    for (size_t j = 0; j < nCount; ++j)
        pPayload[nStep * (j + 1) - 1] ^= static_cast<unsigned char>(nStep * (nCount - j));
}

std::string UnpackPlaylist(const std::string& strFile)
{
    if (!IsPackedPlaylist(strFile))
        return std::string();
    const size_t nPayload = strFile.size() - kPackedPlaylistHeaderSize;
    // zlib counts in uLong, which is 32 bits on Windows; such a file is far beyond any playlist.
    if (nPayload > std::numeric_limits<uLong>::max() / kPackedPlaylistInflateFactor)
        return std::string();

    std::string strPayload = strFile.substr(kPackedPlaylistHeaderSize);
    XorPackedPayload(reinterpret_cast<unsigned char*>(strPayload.data()), nPayload);

    std::string strInflated(nPayload * kPackedPlaylistInflateFactor, '\0');
    uLongf nInflated = static_cast<uLongf>(strInflated.size());
    const int nResult = uncompress(reinterpret_cast<Bytef*>(strInflated.data()), &nInflated,
                                   reinterpret_cast<const Bytef*>(strPayload.data()), static_cast<uLong>(nPayload));
    if (nResult != Z_OK)
        return std::string();
    return UpToFirstZero(strInflated.data(), nInflated);
}

std::string PlaylistFileText(const std::string& strFile)
{
    if (IsPackedPlaylist(strFile))
        return UnpackPlaylist(strFile);
    return UpToFirstZero(strFile.data(), strFile.size());
}

} // namespace qel
