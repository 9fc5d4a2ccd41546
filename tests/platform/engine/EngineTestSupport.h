// Shared by the engine tests: reading parameters, and an HLS cache folder filled from the
// sample segments, some of which can be held back and moved into place later, as the
// downloader does.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "platform/utils/QelTestTempDir.h"
#include "segment_cache/QelTSItem.h"
#include "support/TestEventually.h"
#include "video/QelVideoEngine.h"

namespace qel::test {

constexpr int kSampleSegments = 5;  // hls/index0.ts ... index4.ts, one second each

// ThreadSanitizer slows every allocation and thread of libvlc by an order of magnitude:
// bounds meant to tell "promptly" from "hangs" stretch with it.
#if defined(__SANITIZE_THREAD__)
constexpr int kSanitizerSlowdown = 8;
#else
constexpr int kSanitizerSlowdown = 1;
#endif

std::int64_t Position(QelVideoPlayerHandle player);
std::int32_t State(QelVideoPlayerHandle player);
std::int64_t Duration(QelVideoPlayerHandle player);
std::int32_t Width(QelVideoPlayerHandle player);

class SegmentCache {
public:
    // Copies the sample segments in, except those held back.
    explicit SegmentCache(const std::set<int>& setHeldBack = {});

    std::wstring SegmentPath(int nIndex) const;
    // The records the manager hands to the engine: index, duration 1 s, both paths.
    std::vector<QelTSItem> Items() const;
    // Moves held-back segments into place the way the downloader does.
    void Release(const std::set<int>& setIndexes) const;
    // Replaces a segment's file with these bytes.
    void Overwrite(int nIndex, const std::string& strBytes) const;
    // Cuts a segment's file to half its length.
    void Truncate(int nIndex) const;

private:
    QelTestTempDir m_dir;
};

}  // namespace qel::test
