#include "EngineTestSupport.h"

#include <filesystem>

#include "platform/utils/QelFileTestHelpers.h"
#include "support/TestSampleContent.h"
#include "utils/QelString.h"

namespace qel::test {

namespace {

template <typename Value>
Value Param(QelVideoPlayerHandle player, std::int32_t nId) {
    Value value = -1;
    QelVideoPlayerGetParam(player, nId, &value);
    return value;
}

std::string SampleSegment(int nIndex) {
    return ReadWholeFile(SampleFile("hls/index" + std::to_string(nIndex) + ".ts"));
}

}  // namespace

std::int64_t Position(QelVideoPlayerHandle player) { return Param<std::int64_t>(player, QEL_PARAM_POSITION); }
std::int32_t State(QelVideoPlayerHandle player) { return Param<std::int32_t>(player, QEL_PARAM_STATE); }
std::int64_t Duration(QelVideoPlayerHandle player) { return Param<std::int64_t>(player, QEL_PARAM_DURATION); }
std::int32_t Width(QelVideoPlayerHandle player) { return Param<std::int32_t>(player, QEL_PARAM_WIDTH); }

SegmentCache::SegmentCache(const std::set<int>& setHeldBack) {
    for (int i = 0; i < kSampleSegments; ++i)
        if (!setHeldBack.count(i))
            WriteWholeFile(SegmentPath(i), SampleSegment(i));
}

std::wstring SegmentCache::SegmentPath(int nIndex) const {
    return m_dir / (L"index" + std::to_wstring(nIndex) + L".ts");
}

std::vector<QelTSItem> SegmentCache::Items() const {
    std::vector<QelTSItem> vecItems;
    for (int i = 0; i < kSampleSegments; ++i) {
        QelTSItem item;
        item.nIndex = i;
        item.fDuration = 1.0f;
        item.strUri = "index" + std::to_string(i) + ".ts";
        item.strLocalPath = SegmentPath(i);
        item.strLocalPathA = QelString::UnicodeToAnsi(item.strLocalPath);
        vecItems.push_back(item);
    }
    return vecItems;
}

void SegmentCache::Release(const std::set<int>& setIndexes) const {
    for (int nIndex : setIndexes)
        MoveIntoPlace(SegmentPath(nIndex), SampleSegment(nIndex));
}

void SegmentCache::Overwrite(int nIndex, const std::string& strBytes) const {
    WriteWholeFile(SegmentPath(nIndex), strBytes);
}

void SegmentCache::Truncate(int nIndex) const {
    const auto path = QelTestTempDir::NativePath(SegmentPath(nIndex));
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
}

}  // namespace qel::test

#if defined(__SANITIZE_THREAD__)
// libvlc's core frees pictures that ffmpeg's decoder threads had it allocate, after a
// hand-off made with ffmpeg's own atomics, which uninstrumented libraries hide. Calls made
// from uninstrumented code are left out of the race checks; every access this project's
// own code makes, the engine's callbacks on libvlc's threads included, is still checked.
// Visible, since the build hides symbols by default and the sanitizer looks for this one.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
#endif
