#pragma once
// Parser of m3u8 playlists, media and master, into a small header and an ordered map of
// URI entries. Derived classes receive the entries through OnParsed.
//
// Numbers are read as scanf/atoi read them in the "C" locale, whatever the process locale.
// Malformed content is never reported: numbers that cannot be read leave their fields as
// they were, and a text without an exact "#EXTM3U" line parses to false.
//
// Exceptions: Parse throws std::out_of_range("invalid string position") when a line,
// trimmed of " \r\n\t", begins or ends with byte 255 (see qel::Trim). Callers of Parse must
// catch std::out_of_range; the header fields may then be half updated and OnParsed has not
// been called. Nothing else is thrown, apart from std::bad_alloc.

#include <string>
#include <string_view>

#include "segment_cache/QelHlsItem.h"

class QelHlsParser
{
public:
    QelHlsParser() = default;
    // Not virtual: a parser is never deleted through a pointer to this base; the video file
    // that derives from it brings a virtual destructor of its own.
    ~QelHlsParser() = default;

    // Parses strText, playlist text in UTF-8, with relative URIs resolved against
    // strPlaylistUrl. Calls OnParsed once, after the last line, when an "#EXTM3U" line has
    // been seen (now or by an earlier Parse on this object), and returns that flag.
    bool Parse(const std::string& strPlaylistUrl, const std::string& strText);

    // Whole seconds of the total "#EXTINF:" duration, truncated toward zero. A total that
    // is not a number or lies outside the int range gives INT_MIN, as the processor's own
    // float-to-int conversion does.
    int GetDuration() const;

protected:
    // bStreamInf: the last tag line processed was "#EXT-X-STREAM-INF:", which is how a master
    // playlist ends. mapItems lives only for the duration of the call.
    virtual void OnParsed(bool bStreamInf, long long llMediaSequence, QelHlsItemMap& mapItems);

    bool m_bExtM3U = false;          // an exact "#EXTM3U" line was seen; the result of Parse
    bool m_bAllowCache = false;      // the last "#EXT-X-ALLOW-CACHE:" line contained ":YES"
    bool m_bLive = false;            // reset to true by Parse, cleared by "#EXT-X-ENDLIST"
    int m_nVersion = 0;              // "#EXT-X-VERSION:"
    int m_nTargetDuration = 0;       // "#EXT-X-TARGETDURATION:", whole seconds
    float m_fTotalDuration = 0.0f;   // sum of the "#EXTINF:" durations, seconds
    long long m_llMediaSequence = 0; // "#EXT-X-MEDIA-SEQUENCE:"
    bool m_bStreamInf = false;       // a variant URI is expected

private:
    void ParseTag(std::string_view line, QelHlsItem& item, float& fPendingDuration);
};
