#pragma once
// One URI entry of a parsed playlist, and the ordered map the parser delivers them in.

#include <map>
#include <string>

struct QelHlsItem
{
    std::string strPlaylistUrl;   // the playlist URL given to Parse, the same in every entry
    std::string strUrl;           // absolute URL of the entry
    float fDuration = 0.0f;       // "#EXTINF:" duration pending when the URI line was met
    std::string strUri;           // the URI line as written in the playlist, trimmed
    // Only meaningful for the variants of a master playlist; 0 in segment entries.
    int nProgramId = 0;
    int nBandwidth = 0;
    int nWidth = 0;
    int nHeight = 0;
};

// Key: the 0-based running number of a segment, or the BANDWIDTH of a variant. The first
// entry inserted under a key wins.
using QelHlsItemMap = std::map<int, QelHlsItem>;
