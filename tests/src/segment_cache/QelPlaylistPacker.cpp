#include "QelPlaylistPacker.h"

#include <stdexcept>

#include <zlib.h>

namespace qel_test
{

std::string Deflate(const std::string& strText, int nLevel)
{
    uLongf nPacked = compressBound(static_cast<uLong>(strText.size()));
    std::string strPacked(nPacked, '\0');
    if (compress2(reinterpret_cast<Bytef*>(&strPacked[0]), &nPacked, reinterpret_cast<const Bytef*>(strText.data()),
                  static_cast<uLong>(strText.size()), nLevel) != Z_OK)
    {
        throw std::runtime_error("compress2 failed");
    }
    strPacked.resize(nPacked);
    return strPacked;
}

std::string PackPlaylist(const std::string& strText, int nLevel)
{
    std::string strPayload = Deflate(strText, nLevel);
    const size_t nSize = strPayload.size();
    if (nSize >= 9)
    {
        // Nine slices of equal length; the k-th slice's last byte gets (10 - k) slice lengths.
        const size_t nSlice = nSize / 9;
        for (size_t k = 1; k <= 9; ++k)
            strPayload[k * nSlice - 1] = static_cast<char>(strPayload[k * nSlice - 1] ^ ((10 - k) * nSlice & 0xFF));
    }
    else
    {
        for (size_t j = 0; j < nSize; ++j)
            strPayload[j] = static_cast<char>(strPayload[j] ^ ((nSize - j) & 0xFF));
    }
    return std::string("??\0\1", 4) + strPayload;
}

} // namespace qel_test
