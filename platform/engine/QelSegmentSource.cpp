#include "QelSegmentSource.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "utils/QelFileUtils.h"
#include "utils/QelString.h"

namespace {

// How long a read waits for a missing segment before the segment is asked for.
constexpr std::chrono::milliseconds kMissingReportDelay{1000};
// How often a missing segment is looked for; Abort does not wait for it.
constexpr std::chrono::milliseconds kFilePoll{50};

constexpr unsigned char kTsSync = 0x47;
constexpr std::size_t kTsPacket = 188;

// A segment is TS when it starts on a sync byte and, if long enough, so does its second packet.
bool LooksLikeTs(QelFile& file) {
    unsigned char head[kTsPacket + 1] = {};
    const std::size_t nRead = file.Read(head, sizeof(head));
    if (nRead == 0 || head[0] != kTsSync || (nRead > kTsPacket && head[kTsPacket] != kTsSync))
        return false;
    return file.Seek(0);
}

}  // namespace

QelSegmentSource::QelSegmentSource(const std::vector<QelTSItem>& vecItems) {
    m_vecSegments.reserve(vecItems.size());
    m_vecStartMs.reserve(vecItems.size() + 1);
    double dStartMs = 0.0;
    m_vecStartMs.push_back(0);
    for (const QelTSItem& item : vecItems) {
        Segment segment;
        segment.strPath = !item.strLocalPath.empty() ? item.strLocalPath : QelString::AnsiToUnicode(item.strLocalPathA);
        segment.nIndex = item.nIndex;
        m_vecSegments.push_back(std::move(segment));
        const double dSeconds = static_cast<double>(item.fDuration);
        if (std::isfinite(dSeconds) && dSeconds > 0.0)
            dStartMs += dSeconds * 1000.0;
        m_vecStartMs.push_back(std::llround(dStartMs));
    }
}

std::int64_t QelSegmentSource::StartMs(std::size_t nPos) const {
    return m_vecStartMs[std::min(nPos, m_vecSegments.size())];
}

std::size_t QelSegmentSource::PosAt(std::int64_t llMs) const {
    if (m_vecSegments.empty() || llMs <= 0)
        return 0;
    // The first segment that ends after the time; zero-length segments hold no time.
    const auto itEnd = std::upper_bound(m_vecStartMs.begin() + 1, m_vecStartMs.end(), llMs);
    const std::size_t nPos = static_cast<std::size_t>(itEnd - m_vecStartMs.begin()) - 1;
    return std::min(nPos, m_vecSegments.size() - 1);
}

int QelSegmentSource::IndexOf(std::size_t nPos) const {
    return nPos < m_vecSegments.size() ? m_vecSegments[nPos].nIndex : 0;
}

void QelSegmentSource::Rewind(std::size_t nPos) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_nStart = std::min(nPos, m_vecSegments.size());
    m_bAborted = false;
}

void QelSegmentSource::Abort() {
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_bAborted = true;
    }
    m_wake.notify_all();
}

void QelSegmentSource::Open() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_file.Close();
    m_nNext = m_nStart;
    m_llOffset = 0;
    m_vecVisited.clear();
    m_llBytesRead = 0;
    m_bWaiting = false;
}

void QelSegmentSource::Close() {
    m_file.Close();
    m_bWaiting = false;
}

QelSegmentSource::OpenResult QelSegmentSource::OpenSegment(std::size_t nPos) {
    const std::wstring& strPath = m_vecSegments[nPos].strPath;
    if (strPath.empty())
        return OpenResult::Skip;
    if (!m_file.Open(strPath, false))
        return QelFileUtils::IsFileExist(strPath) ? OpenResult::Skip : OpenResult::Missing;
    const long long llSize = m_file.GetSize();
    if (llSize <= 0 || !LooksLikeTs(m_file)) {
        m_file.Close();
        return OpenResult::Skip;
    }
    m_vecVisited.push_back(Visited{nPos, m_llOffset, static_cast<std::uint64_t>(llSize)});
    return OpenResult::Opened;
}

void QelSegmentSource::WaitForFile() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_bWaiting = true;
    m_wake.wait_for(lock, kFilePoll, [this] { return m_bAborted; });
}

long long QelSegmentSource::Read(unsigned char* pBuffer, std::size_t nLength) {
    if (!pBuffer || nLength == 0)
        return 0;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_bAborted) {
                m_bWaiting = false;
                return -1;
            }
        }
        if (!m_file.IsOpen()) {
            if (m_nNext >= m_vecSegments.size()) {
                m_bWaiting = false;
                return 0;
            }
            switch (OpenSegment(m_nNext)) {
            case OpenResult::Missing:
                if (!m_bWaiting) {
                    m_waitStart = std::chrono::steady_clock::now();
                    m_bMissingReported = false;
                }
                WaitForFile();  // then looks again, or reports the abort
                // Read-ahead meets segments still downloading all the time; only a wait
                // that lasts is worth telling.
                if (!m_bMissingReported && m_onMissing &&
                    std::chrono::steady_clock::now() - m_waitStart >= kMissingReportDelay) {
                    m_bMissingReported = m_onMissing(IndexOf(m_nNext));
                }
                continue;
            case OpenResult::Skip:
                ++m_nNext;
                continue;
            case OpenResult::Opened:
                m_bWaiting = false;
                ++m_nNext;
                break;
            }
        }
        const std::size_t nRead = m_file.Read(pBuffer, nLength);
        if (nRead > 0) {
            m_llOffset += nRead;
            m_llBytesRead += nRead;
            return static_cast<long long>(nRead);
        }
        m_file.Close();
    }
}

bool QelSegmentSource::Seek(std::uint64_t llOffset) {
    if (llOffset == m_llOffset)
        return true;
    // The visited segment that holds the offset; the end of the last one is a valid place.
    auto it = std::find_if(m_vecVisited.begin(), m_vecVisited.end(), [llOffset](const Visited& v) {
        return llOffset >= v.llStart && llOffset < v.llStart + v.llSize;
    });
    if (it == m_vecVisited.end()) {
        if (m_vecVisited.empty() || llOffset != m_vecVisited.back().llStart + m_vecVisited.back().llSize)
            return false;
        it = m_vecVisited.end() - 1;
    }
    const Visited visited = *it;
    m_vecVisited.erase(it + 1, m_vecVisited.end());
    m_nNext = visited.nPos + 1;
    m_llOffset = llOffset;
    if (m_file.Open(m_vecSegments[visited.nPos].strPath, false) &&
        m_file.Seek(static_cast<long long>(llOffset - visited.llStart)))
        return true;
    // The file went away under the reader: the stream ends here.
    m_file.Close();
    m_nNext = m_vecSegments.size();
    return false;
}
