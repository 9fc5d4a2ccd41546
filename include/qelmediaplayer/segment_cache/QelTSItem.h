// One file to cache: a TS segment, or the playlist file itself. A value type, copied freely
// between the video file, the package, the groups, every downloader and the video engine,
// so its layout is part of the engine's interface.
#pragma once

#include <string>

struct QelTSItem {
    bool bAutoLoad = false;       // playlist record only: parse once downloaded
    int nIndex = 0;               // 0-based position in the playlist
    float fDuration = 0.0f;       // seconds
    std::string strPlaylistUrl;   // UTF-8
    std::string strUrl;           // absolute URL to download, UTF-8
    std::string strUri;           // as written in the playlist, UTF-8
    std::string strLocalPathA;    // strLocalPath in the ANSI code page, for QelHttp
    std::wstring strLocalPath;    // cache file
    std::wstring strSha256;       // expected digest, hex; empty: no check
};
