// Parse of arbitrary playlist text. Besides the sanitizers it checks what every result must
// satisfy: entries are URI lines, resolved URLs end with their URI, and the one exception
// that may leave Parse is the out-of-range error of a line beginning or ending with 0xFF.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "QelFuzzCheck.h"
#include "segment_cache/QelHlsParser.h"

namespace
{

class CheckingParser : public QelHlsParser
{
public:
    explicit CheckingParser(const std::string& strUrl) : m_strUrl(strUrl) {}

    int m_nOnParsed = 0;

    bool IsExtM3U() const { return m_bExtM3U; }

protected:
    void OnParsed(bool /*bStreamInf*/, long long llMediaSequence, QelHlsItemMap& mapItems) override
    {
        ++m_nOnParsed;
        QEL_FUZZ_CHECK(llMediaSequence == m_llMediaSequence);
        for (const auto& [nKey, item] : mapItems)
        {
            (void)nKey;
            QEL_FUZZ_CHECK(item.strPlaylistUrl == m_strUrl);
            QEL_FUZZ_CHECK(item.strUri.size() >= 2 && item.strUri[0] != '#');
            QEL_FUZZ_CHECK(item.strUrl.size() >= item.strUri.size());
            QEL_FUZZ_CHECK(item.strUrl.compare(item.strUrl.size() - item.strUri.size(), std::string::npos,
                                               item.strUri) == 0);
        }
    }

private:
    std::string m_strUrl;
};

const char* const kUrls[] = {"http://server/a/b/index.m3u8", "https://h/i.m3u8?t=1/2", "http://a", "index.m3u8", ""};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    // The length picks the playlist URL, so the seeds stay playlists as they are.
    const std::string strUrl = kUrls[nSize % (sizeof(kUrls) / sizeof(kUrls[0]))];
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);

    CheckingParser parser(strUrl);
    try
    {
        const bool bResult = parser.Parse(strUrl, strText);
        QEL_FUZZ_CHECK(bResult == parser.IsExtM3U());
        QEL_FUZZ_CHECK(parser.m_nOnParsed == (bResult ? 1 : 0));
        // A second parse on the same object: the flag of the first one sticks.
        QEL_FUZZ_CHECK(parser.Parse(strUrl, strText) == bResult);
    }
    catch (const std::out_of_range& e)
    {
        QEL_FUZZ_CHECK(std::strcmp(e.what(), "invalid string position") == 0);
        QEL_FUZZ_CHECK(strText.find('\xFF') != std::string::npos);
    }
    (void)parser.GetDuration();
    return 0;
}
