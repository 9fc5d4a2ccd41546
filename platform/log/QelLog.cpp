#include "log/QelLog.h"

#include <atomic>
#include <cctype>
#include <locale>
#include <mutex>

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include "utils/QelString.h"

namespace qel::log {

namespace {

// Severity in capitals, padded as the log's readers expect ("DEBUG", "INFO ").
class UpperLevelFlag final : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg& msg, const std::tm&, spdlog::memory_buf_t& dest) override {
        static const char* const kNames[] = {"VERB ", "DEBUG", "INFO ", "WARN ", "ERROR", "FATAL", "NONE "};
        const char* name = kNames[static_cast<int>(msg.level)];
        dest.append(name, name + 5);
    }
    std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<UpperLevelFlag>(); }
};

spdlog::filename_t NativeFileName(const std::wstring& strPath) {
#ifdef _WIN32
    return strPath;
#else
    return QelString::UnicodeToUtf8(strPath);
#endif
}

}  // namespace

struct QelRollingLog::Impl {
    std::shared_ptr<spdlog::logger> logger;
};

QelRollingLog::QelRollingLog(const std::wstring& strFilePath, std::size_t maxFileBytes, std::size_t filesKept)
    : m_pImpl(std::make_unique<Impl>()) {
    if (strFilePath.empty() || maxFileBytes == 0 || filesKept == 0)
        return;
    try {
        // The sink counts rolled files besides the current one.
        auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(NativeFileName(strFilePath), maxFileBytes,
                                                                           filesKept - 1);
        auto formatter = std::make_unique<spdlog::pattern_formatter>(spdlog::pattern_time_type::local, "\r\n");
        formatter->add_flag<UpperLevelFlag>('*').set_pattern("%Y-%m-%d %H:%M:%S.%e %* [%t] [%!@%#] %v");
        sink->set_formatter(std::move(formatter));
        auto logger = std::make_shared<spdlog::logger>("QelMediaPlayer", std::move(sink));
        logger->set_level(spdlog::level::debug);
        // Every line reaches the file at once: a crash must not eat the lines before it.
        logger->flush_on(spdlog::level::debug);
        logger->set_error_handler([](const std::string&) {});
        m_pImpl->logger = std::move(logger);
    } catch (const std::exception&) {
        m_pImpl->logger.reset();
    }
}

QelRollingLog::~QelRollingLog() = default;

bool QelRollingLog::IsOpen() const {
    return m_pImpl->logger != nullptr;
}

void QelRollingLog::Write(const char* szFunction, int nLine, const std::string& strUtf8Message) {
    if (!m_pImpl->logger)
        return;
    try {
        m_pImpl->logger->log(spdlog::source_loc{"", nLine, szFunction ? szFunction : ""}, spdlog::level::debug,
                             spdlog::string_view_t(strUtf8Message));
    } catch (...) {
        // A log line is never worth an exception in the caller.
    }
}

namespace {

std::mutex g_processLogMutex;
// Intentionally never destroyed: workers may still write while the process exits.
std::atomic<QelRollingLog*> g_pProcessLog{nullptr};

}  // namespace

bool OpenProcessLog(const std::wstring& strFilePath, std::size_t maxFileBytes, std::size_t filesKept) {
    std::lock_guard<std::mutex> lock(g_processLogMutex);
    if (g_pProcessLog.load())
        return true;
    auto pLog = std::make_unique<QelRollingLog>(strFilePath, maxFileBytes, filesKept);
    if (!pLog->IsOpen())
        return false;
    g_pProcessLog.store(pLog.release());
    return true;
}

bool IsProcessLogOpen() {
    return g_pProcessLog.load() != nullptr;
}

void WriteProcessLog(const char* szFunction, int nLine, const std::string& strUtf8Message) {
    if (QelRollingLog* pLog = g_pProcessLog.load())
        pLog->Write(szFunction, nLine, strUtf8Message);
}

std::string ShortFunctionName(const char* szPrettyFunction) {
    if (!szPrettyFunction)
        return {};
    std::string text(szPrettyFunction);

    // A lambda is named after the function that holds it.
    std::size_t lambda = text.find("::<lambda");
    if (lambda != std::string::npos)
        text.erase(lambda);

    // Cut the parameter list: the last ')' and its matching '('.
    std::size_t close = text.rfind(')');
    if (close != std::string::npos) {
        int depth = 0;
        for (std::size_t i = close + 1; i-- > 0;) {
            if (text[i] == ')')
                ++depth;
            else if (text[i] == '(' && --depth == 0) {
                text.erase(i);
                break;
            }
        }
    }

    // Drop the return type: the name starts after the last space outside template brackets,
    // except the space of "operator new" and the like.
    int angle = 0;
    std::size_t start = 0;
    for (std::size_t i = text.size(); i-- > 0;) {
        char c = text[i];
        if (c == '>')
            ++angle;
        else if (c == '<')
            --angle;
        else if (c == ' ' && angle == 0) {
            if (i >= 8 && text.compare(i - 8, 8, "operator") == 0)
                continue;
            start = i + 1;
            break;
        }
    }
    return text.substr(start);
}

Record::Record(const char* szPrettyFunction, int nLine)
    : m_bActive(IsProcessLogOpen()), m_szFunction(szPrettyFunction), m_nLine(nLine) {
    if (m_bActive)
        m_stream.imbue(std::locale::classic());
}

Record::~Record() {
    if (m_bActive)
        WriteProcessLog(ShortFunctionName(m_szFunction).c_str(), m_nLine, m_stream.str());
}

void Record::AppendText(const char* pText, std::size_t nBytes) {
    if (nBytes <= kMaxTextBytes) {
        m_stream.write(pText, static_cast<std::streamsize>(nBytes));
        return;
    }
    std::size_t nKept = kMaxTextBytes;
    while (nKept > 0 && (static_cast<unsigned char>(pText[nKept]) & 0xC0) == 0x80)
        --nKept;  // back to the start of the character that would be split
    m_stream.write(pText, static_cast<std::streamsize>(nKept));
    m_stream << "...[" << (nBytes - nKept) << " more bytes]";
}

Record& Record::operator<<(const char* sz) {
    if (m_bActive) {
        const char* pszText = sz ? sz : "(null)";
        AppendText(pszText, std::char_traits<char>::length(pszText));
    }
    return *this;
}

Record& Record::operator<<(const wchar_t* sz) {
    if (m_bActive)
        *this << (sz ? QelString::UnicodeToUtf8(std::wstring(sz)) : std::string("(null)"));
    return *this;
}

Record& Record::operator<<(const std::string& str) {
    if (m_bActive)
        AppendText(str.data(), str.size());
    return *this;
}

Record& Record::operator<<(const std::wstring& str) {
    if (m_bActive)
        *this << QelString::UnicodeToUtf8(str);
    return *this;
}

}  // namespace qel::log
