#include "segment_cache/QelHlsParser.h"

#include <climits>

#include "segment_cache/QelCScan.h"
#include "segment_cache/QelHlsText.h"

namespace
{

const std::string s_strBlanks = " \r\n\t";

bool StartsWith(const std::string& str, const char* pszPrefix, size_t nPrefix)
{
    return str.compare(0, nPrefix, pszPrefix, nPrefix) == 0;
}

template <size_t N>
bool StartsWith(const std::string& str, const char (&szPrefix)[N])
{
    return StartsWith(str, szPrefix, N - 1);
}

// What follows a tag's prefix, for the scan of its number.
template <size_t N>
std::string_view After(const std::string& str, const char (&)[N])
{
    return std::string_view(str).substr(N - 1);
}

// The two bases a relative URI is resolved against, worked out once per playlist.
struct UrlBases
{
    explicit UrlBases(const std::string& strPlaylistUrl)
    {
        // A rooted URI keeps the scheme and server: up to the first '/' after "scheme://",
        // or the whole URL when there is none.
        const size_t nServerEnd = strPlaylistUrl.find('/', 8);
        strRooted = nServerEnd == std::string::npos ? strPlaylistUrl : strPlaylistUrl.substr(0, nServerEnd);
        // Any other relative URI replaces what follows the last '/'; query strings included.
        const size_t nLastSlash = strPlaylistUrl.rfind('/');
        strFolder = nLastSlash == std::string::npos ? std::string() : strPlaylistUrl.substr(0, nLastSlash + 1);
    }

    std::string Resolve(const std::string& strUri) const
    {
        if (StartsWith(strUri, "http://") || StartsWith(strUri, "https://"))
            return strUri;
        return (strUri[0] == '/' ? strRooted : strFolder) + strUri;
    }

    std::string strRooted;
    std::string strFolder;
};

} // namespace

bool QelHlsParser::Parse(const std::string& strPlaylistUrl, const std::string& strText)
{
    m_fTotalDuration = 0.0f;
    m_bLive = true;
    m_bStreamInf = false;

    const UrlBases bases(strPlaylistUrl);
    QelHlsItemMap mapItems;
    QelHlsItem item;
    item.strPlaylistUrl = strPlaylistUrl;
    float fPendingDuration = 0.0f;
    int nSegment = 0;

    for (std::string& strLine : qel::Split(strText, "\n"))
    {
        qel::Trim(strLine, s_strBlanks);
        if (strLine.size() < 2)
            continue;

        if ((m_bStreamInf || fPendingDuration != 0.0f) && strLine[0] != '#')
        {
            // The working entry is copied into the map; the first entry under a key wins.
            item.strUrl = bases.Resolve(strLine);
            item.strUri = std::move(strLine);
            item.fDuration = fPendingDuration;
            const int nKey = m_bStreamInf ? item.nBandwidth : nSegment++;
            mapItems.emplace_hint(mapItems.end(), nKey, item);
            fPendingDuration = 0.0f;
            continue;
        }

        m_bStreamInf = false;
        ParseTag(strLine, item, fPendingDuration);
    }

    if (m_bExtM3U)
        OnParsed(m_bStreamInf, m_llMediaSequence, mapItems);
    return m_bExtM3U;
}

void QelHlsParser::ParseTag(const std::string& strLine, QelHlsItem& item, float& fPendingDuration)
{
    if (StartsWith(strLine, "#EXTINF:"))
    {
        qel::ScanFloat(After(strLine, "#EXTINF:"), fPendingDuration);
        m_fTotalDuration += fPendingDuration;
    }
    else if (StartsWith(strLine, "#EXT-X-STREAM-INF:"))
    {
        m_bStreamInf = true;
        qel::QelHlsAttributeMap mapAttributes;
        qel::ParseAttributes(strLine.substr(18), ",", "=", mapAttributes);
        item.nProgramId = qel::Atoi(qel::GetAttribute(mapAttributes, "PROGRAM-ID"));
        item.nBandwidth = qel::Atoi(qel::GetAttribute(mapAttributes, "BANDWIDTH"));
        // "%dx%d": each number is stored as soon as it is read.
        const std::string strResolution = qel::GetAttribute(mapAttributes, "RESOLUTION");
        size_t nUsed = 0;
        if (qel::ScanInt(strResolution, item.nWidth, &nUsed) && nUsed < strResolution.size() &&
            strResolution[nUsed] == 'x')
        {
            qel::ScanInt(std::string_view(strResolution).substr(nUsed + 1), item.nHeight);
        }
    }
    else if (strLine == "#EXTM3U")
    {
        m_bExtM3U = true;
    }
    else if (StartsWith(strLine, "#EXT-X-ALLOW-CACHE:"))
    {
        m_bAllowCache = strLine.find(":YES") != std::string::npos;
    }
    else if (StartsWith(strLine, "#EXT-X-VERSION:"))
    {
        qel::ScanInt(After(strLine, "#EXT-X-VERSION:"), m_nVersion);
    }
    else if (StartsWith(strLine, "#EXT-X-TARGETDURATION:"))
    {
        qel::ScanInt(After(strLine, "#EXT-X-TARGETDURATION:"), m_nTargetDuration);
    }
    else if (StartsWith(strLine, "#EXT-X-MEDIA-SEQUENCE:"))
    {
        qel::ScanLongLong(After(strLine, "#EXT-X-MEDIA-SEQUENCE:"), m_llMediaSequence);
    }
    else if (StartsWith(strLine, "#EXT-X-ENDLIST"))
    {
        m_bLive = false;
    }
    // Anything else - other tags, comments, a URI nobody asked for - is ignored.
}

int QelHlsParser::GetDuration() const
{
    // 2^31 is exact in float; NaN fails both comparisons.
    if (m_fTotalDuration >= -2147483648.0f && m_fTotalDuration < 2147483648.0f)
        return static_cast<int>(m_fTotalDuration);
    return INT_MIN;
}

void QelHlsParser::OnParsed(bool /*bStreamInf*/, long long /*llMediaSequence*/, QelHlsItemMap& /*mapItems*/)
{
}
