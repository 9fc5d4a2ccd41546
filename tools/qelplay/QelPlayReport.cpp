#include "QelPlayReport.h"

#include <cstdint>

#include "QelPlayMessages.h"

#ifdef _WIN32
#include <io.h>
#define QEL_ISATTY _isatty
#define QEL_FILENO _fileno
#else
#include <unistd.h>
#define QEL_ISATTY isatty
#define QEL_FILENO fileno
#endif

namespace qelplay {

Report::Report(bool bEvents)
    : m_bEvents(bEvents), m_bTerminal(QEL_ISATTY(QEL_FILENO(stderr)) != 0), m_start(std::chrono::steady_clock::now()) {}

void Report::Event(const Message& message) {
    if (!m_bEvents)
        return;
    std::printf("event %s %llu %lld\n", MessageName(message.message), static_cast<unsigned long long>(message.wParam),
                static_cast<long long>(message.lParam));
    std::fflush(stdout);
}

void Report::Line(const std::string& strText) {
    if (m_bStatusShown && m_bTerminal)
        std::fputs("\n", stderr);
    m_bStatusShown = false;
    std::fprintf(stderr, "%s\n", strText.c_str());
}

void Report::Status(const std::string& strText) {
    if (strText == m_strLastStatus)
        return;
    m_strLastStatus = strText;
    if (m_bTerminal) {
        std::fprintf(stderr, "\r%s\033[K", strText.c_str());
        m_bStatusShown = true;
    } else {
        std::fprintf(stderr, "%s\n", strText.c_str());
    }
}

double Report::SecondsSinceStart() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

std::string Report::Clock(long long llMs) {
    if (llMs < 0)
        llMs = 0;
    const long long llSeconds = llMs / 1000;
    char sz[32];
    std::snprintf(sz, sizeof(sz), "%02lld:%02lld", llSeconds / 60, llSeconds % 60);
    return sz;
}

std::string Report::Bytes(long long llBytes) {
    char sz[32];
    if (llBytes >= 1024 * 1024)
        std::snprintf(sz, sizeof(sz), "%.1f MiB", static_cast<double>(llBytes) / (1024.0 * 1024.0));
    else
        std::snprintf(sz, sizeof(sz), "%.1f KiB", static_cast<double>(llBytes) / 1024.0);
    return sz;
}

std::string Report::Bar(int nDone, int nTotal, int nWidth) {
    const int nFilled = nTotal > 0 ? nDone * nWidth / nTotal : 0;
    return "[" + std::string(static_cast<std::size_t>(nFilled), '#') +
           std::string(static_cast<std::size_t>(nWidth - nFilled), '.') + "]";
}

}  // namespace qelplay
