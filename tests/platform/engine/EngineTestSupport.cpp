#include "EngineTestSupport.h"

#include <filesystem>
#include <fstream>

#include "support/TestSampleContent.h"
#include "utils/QelString.h"

namespace qel::test {

namespace fs = std::filesystem;

std::int64_t Position(QelVideoPlayerHandle player) {
    std::int64_t llPosition = -1;
    QelVideoPlayerGetParam(player, QEL_PARAM_POSITION, &llPosition);
    return llPosition;
}

std::int32_t State(QelVideoPlayerHandle player) {
    std::int32_t nState = -1;
    QelVideoPlayerGetParam(player, QEL_PARAM_STATE, &nState);
    return nState;
}

std::int64_t Duration(QelVideoPlayerHandle player) {
    std::int64_t llDuration = -1;
    QelVideoPlayerGetParam(player, QEL_PARAM_DURATION, &llDuration);
    return llDuration;
}

namespace {

fs::path SamplePath(int nIndex) {
    return QelTestTempDir::NativePath(SampleFile("hls/index" + std::to_string(nIndex) + ".ts"));
}

}  // namespace

SegmentCache::SegmentCache(const std::set<int>& setHeldBack) {
    for (int i = 0; i < kSampleSegments; ++i)
        if (!setHeldBack.count(i))
            fs::copy_file(SamplePath(i), QelTestTempDir::NativePath(SegmentPath(i)));
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

void SegmentCache::Release(int nIndex) const {
    const fs::path target = QelTestTempDir::NativePath(SegmentPath(nIndex));
    fs::path temporary = target;
    temporary += ".tmp";
    fs::copy_file(SamplePath(nIndex), temporary, fs::copy_options::overwrite_existing);
    fs::rename(temporary, target);
}

void SegmentCache::Overwrite(int nIndex, const std::string& strBytes) const {
    std::ofstream(QelTestTempDir::NativePath(SegmentPath(nIndex)), std::ios::binary | std::ios::trunc) << strBytes;
}

void SegmentCache::Truncate(int nIndex) const {
    const fs::path path = QelTestTempDir::NativePath(SegmentPath(nIndex));
    fs::resize_file(path, fs::file_size(path) / 2);
}

}  // namespace qel::test

#if defined(__SANITIZE_THREAD__)
// libvlc's core frees pictures that ffmpeg's decoder threads had it allocate, after a
// hand-off made with ffmpeg's own atomics, which uninstrumented libraries hide. Calls made
// from uninstrumented code are left out of the race checks; every access this project's
// own code makes, the engine's callbacks on libvlc's threads included, is still checked.
extern "C" const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1";
}
#endif
