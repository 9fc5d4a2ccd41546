#include "segment_cache/QelPackedPlaylist.h"

#include <algorithm>
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
    // zlib counts in 32 bits; such a file is far beyond any playlist.
    if (nPayload > std::numeric_limits<uInt>::max() / kPackedPlaylistInflateFactor)
        return std::string();

    std::string strPayload = strFile.substr(kPackedPlaylistHeaderSize);
    XorPackedPayload(reinterpret_cast<unsigned char*>(strPayload.data()), nPayload);

    // As uncompress into a buffer of 20 times the payload would, without the buffer: the
    // whole stream must inflate within the bound, and the text is kept up to its first zero.
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return std::string();
    stream.next_in = reinterpret_cast<Bytef*>(strPayload.data());
    stream.avail_in = static_cast<uInt>(nPayload);
    const size_t nBound = nPayload * kPackedPlaylistInflateFactor;
    size_t nInflated = 0;
    bool bTextEnded = false;
    std::string strText;
    std::string strChunk(64 * 1024, '\0');
    int nResult = Z_OK;
    // With no room left, inflate may still consume the stream's end (Z_STREAM_END) or find
    // that it needs more room (Z_BUF_ERROR), as uncompress does.
    while (nResult == Z_OK)
    {
        Bytef* pChunk = reinterpret_cast<Bytef*>(strChunk.data());
        stream.next_out = pChunk;
        stream.avail_out = static_cast<uInt>(std::min(strChunk.size(), nBound - nInflated));
        nResult = inflate(&stream, Z_NO_FLUSH);
        const size_t nOut = static_cast<size_t>(stream.next_out - pChunk);
        nInflated += nOut;
        if (!bTextEnded)
        {
            const std::string strPiece = UpToFirstZero(strChunk.data(), nOut);
            bTextEnded = strPiece.size() < nOut;
            if (strText.size() + strPiece.size() > kMaxPlaylistBytes)
                break;
            strText += strPiece;
        }
    }
    inflateEnd(&stream);
    if (nResult != Z_STREAM_END)
        return std::string();
    return strText;
}

std::string PlaylistFileText(const std::string& strFile)
{
    if (IsPackedPlaylist(strFile))
        return UnpackPlaylist(strFile);
    return UpToFirstZero(strFile.data(), strFile.size());
}

} // namespace qel
