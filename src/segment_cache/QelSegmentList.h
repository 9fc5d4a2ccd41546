// The segment list of one parsed playlist, shared rather than copied: the video file, its
// package, the waiting groups and the engine's open all read the same records, which never
// change once the parse has made them. A million-segment video keeps one copy.
#pragma once

#include <memory>
#include <vector>

#include "segment_cache/QelTSItem.h"

using QelSegmentList = std::shared_ptr<const std::vector<QelTSItem>>;

// The empty list, shared.
inline const QelSegmentList& QelNoSegments() {
    static const QelSegmentList s_pEmpty = std::make_shared<const std::vector<QelTSItem>>();
    return s_pEmpty;
}
