// The bytes of a cached playlist file, plain or packed, to text and on to the parser; and
// the same bytes taken as text, packed and read back, to check the round trip.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "QelFuzzCheck.h"
#include "QelPlaylistPacker.h"
#include "segment_cache/QelHlsParser.h"
#include "segment_cache/QelPackedPlaylist.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    const std::string strFile(reinterpret_cast<const char*>(pData), nSize);

    const std::string strText = qel::PlaylistFileText(strFile);
    QEL_FUZZ_CHECK(strText.find('\0') == std::string::npos);
    if (qel::IsPackedPlaylist(strFile))
        QEL_FUZZ_CHECK(strText.size() <= (nSize - 4) * qel::kPackedPlaylistInflateFactor);
    else
        QEL_FUZZ_CHECK(strText.size() <= nSize);

    QelHlsParser parser;
    try
    {
        parser.Parse("http://server/a/b/index.m3u8", strText);
    }
    catch (const std::out_of_range&)
    {
        QEL_FUZZ_CHECK(strText.find('\xFF') != std::string::npos);
    }

    // Round trip: what the test packer writes, the reader reads back, within the bound.
    const std::string strPacked = qel_test::PackPlaylist(strFile, 1 + static_cast<int>(nSize % 9));
    const std::string strBack = qel::PlaylistFileText(strPacked);
    const std::string strExpected = strFile.substr(0, strFile.find('\0'));
    if (nSize <= (strPacked.size() - 4) * qel::kPackedPlaylistInflateFactor)
        QEL_FUZZ_CHECK(strBack == strExpected);
    else
        QEL_FUZZ_CHECK(strBack.empty());
    return 0;
}
