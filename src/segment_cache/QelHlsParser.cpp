#include "segment_cache/QelHlsParser.h"

#include <climits>
#include <cstring>
#include <string_view>

#include "segment_cache/QelCScan.h"
#include "segment_cache/QelHlsText.h"

namespace
{

const qel::QelTrimSet s_blanks(" \r\n\t");

bool StartsWith(std::string_view sv, std::string_view prefix)
{
    return sv.compare(0, prefix.size(), prefix) == 0;
}

// What follows a tag's prefix, for the scan of its number.
template <size_t N>
std::string_view After(std::string_view sv, const char (&)[N])
{
    return sv.substr(N - 1);
}

// The two bases a relative URI is resolved against, worked out once per playlist.
struct UrlBases
{
    explicit UrlBases(std::string_view playlistUrl)
    {
        // A rooted URI keeps the scheme and server: up to the first '/' after "scheme://",
        // or the whole URL when there is none.
        const size_t nServerEnd = playlistUrl.find('/', 8);
        rooted = nServerEnd == std::string_view::npos ? playlistUrl : playlistUrl.substr(0, nServerEnd);
        // Any other relative URI replaces what follows the last '/'; query strings included.
        const size_t nLastSlash = playlistUrl.rfind('/');
        folder = nLastSlash == std::string_view::npos ? std::string_view() : playlistUrl.substr(0, nLastSlash + 1);
    }

    // Written straight into the entry's string: one allocation per URL.
    void Resolve(std::string_view uri, std::string& strUrl) const
    {
        const std::string_view base =
            StartsWith(uri, "http://") || StartsWith(uri, "https://") ? std::string_view() : uri[0] == '/' ? rooted : folder;
        strUrl.reserve(base.size() + uri.size());
        strUrl.assign(base).append(uri);
    }

    std::string_view rooted;
    std::string_view folder;
};

} // namespace

bool QelHlsParser::Parse(const std::string& strPlaylistUrl, const std::string& strText)
{
    m_fTotalDuration = 0.0f;
    m_bLive = true;
    m_bStreamInf = false;

    const UrlBases bases(strPlaylistUrl);
    QelHlsItemMap mapItems;
    // The working entry: the variant's attributes carry over from one URI to the next; the
    // URL, URI and duration are written into each map entry itself.
    QelHlsItem item;
    item.strPlaylistUrl = strPlaylistUrl;
    float fPendingDuration = 0.0f;
    int nSegment = 0;

    // Lines are views into the text: the one copy of a URI is the one the entry keeps.
    const char* pNext = strText.data();
    const char* const pEnd = pNext + strText.size();
    while (pNext < pEnd)
    {
        const char* pNewline = static_cast<const char*>(std::memchr(pNext, '\n', static_cast<size_t>(pEnd - pNext)));
        if (!pNewline)
            pNewline = pEnd;
        const std::string_view line = qel::Trimmed(std::string_view(pNext, static_cast<size_t>(pNewline - pNext)), s_blanks);
        pNext = pNewline + 1;
        if (line.size() < 2)
            continue;

        if ((m_bStreamInf || fPendingDuration != 0.0f) && line[0] != '#')
        {
            // The first entry under a key wins.
            const int nKey = m_bStreamInf ? item.nBandwidth : nSegment++;
            const size_t nBefore = mapItems.size();
            const auto it = mapItems.try_emplace(mapItems.end(), nKey, item);
            if (mapItems.size() != nBefore)
            {
                QelHlsItem& entry = it->second;
                bases.Resolve(line, entry.strUrl);
                entry.strUri.assign(line);
                entry.fDuration = fPendingDuration;
            }
            fPendingDuration = 0.0f;
            continue;
        }

        m_bStreamInf = false;
        ParseTag(line, item, fPendingDuration);
    }

    if (m_bExtM3U)
        OnParsed(m_bStreamInf, m_llMediaSequence, mapItems);
    return m_bExtM3U;
}

void QelHlsParser::ParseTag(std::string_view line, QelHlsItem& item, float& fPendingDuration)
{
    if (StartsWith(line, "#EXTINF:"))
    {
        qel::ScanFloat(After(line, "#EXTINF:"), fPendingDuration);
        m_fTotalDuration += fPendingDuration;
    }
    else if (StartsWith(line, "#EXT-X-STREAM-INF:"))
    {
        m_bStreamInf = true;
        qel::QelHlsAttributeMap mapAttributes;
        qel::ParseAttributes(std::string(line.substr(18)), ",", "=", mapAttributes);
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
    else if (line == "#EXTM3U")
    {
        m_bExtM3U = true;
    }
    else if (StartsWith(line, "#EXT-X-ALLOW-CACHE:"))
    {
        m_bAllowCache = line.find(":YES") != std::string_view::npos;
    }
    else if (StartsWith(line, "#EXT-X-VERSION:"))
    {
        qel::ScanInt(After(line, "#EXT-X-VERSION:"), m_nVersion);
    }
    else if (StartsWith(line, "#EXT-X-TARGETDURATION:"))
    {
        qel::ScanInt(After(line, "#EXT-X-TARGETDURATION:"), m_nTargetDuration);
    }
    else if (StartsWith(line, "#EXT-X-MEDIA-SEQUENCE:"))
    {
        qel::ScanLongLong(After(line, "#EXT-X-MEDIA-SEQUENCE:"), m_llMediaSequence);
    }
    else if (StartsWith(line, "#EXT-X-ENDLIST"))
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
