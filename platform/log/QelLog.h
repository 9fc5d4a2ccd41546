// The process-wide rolling log of the video side.
//
//   QEL_LOG << "Download ts success:" << strUrl << ", size:" << llSize;
//
// writes one line "2026-11-22 22:46:31.429 DEBUG [4711] [QelTS::DownloadTs@57] Download ts
// success:http://...,size:1234" (UTF-8, CR LF). The parts follow each other without any
// separator; a null C string is written as "(null)"; wide strings are written as UTF-8.
// A text longer than kMaxTextBytes is cut there (never inside a character) and followed
// by "...[N more bytes]", so that no line can outgrow the roll size however long the
// URL or path it quotes. Until a process log is opened every line is dropped, cheaply.
#pragma once

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>

namespace qel::log {

inline constexpr std::size_t kDefaultMaxFileBytes = 0x500000;  // 5 MiB
inline constexpr std::size_t kDefaultFilesKept = 10;           // the current one included
inline constexpr std::size_t kMaxTextBytes = 1024;             // of one text of a record, in UTF-8

// One rolling file: "name.log", rolled into "name.1.log" ... "name.N.log", oldest dropped.
// No file ever exceeds maxFileBytes. Safe to write from any thread.
class QelRollingLog {
public:
    QelRollingLog(const std::wstring& strFilePath, std::size_t maxFileBytes = kDefaultMaxFileBytes,
                  std::size_t filesKept = kDefaultFilesKept);
    ~QelRollingLog();
    QelRollingLog(const QelRollingLog&) = delete;
    QelRollingLog& operator=(const QelRollingLog&) = delete;

    // False when the file could not be created.
    bool IsOpen() const;
    void Write(const char* szFunction, int nLine, const std::string& strUtf8Message);

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

// Opens the process-wide log once; the first successful call wins and later calls change
// nothing. True when a process log is open after the call.
bool OpenProcessLog(const std::wstring& strFilePath, std::size_t maxFileBytes = kDefaultMaxFileBytes,
                    std::size_t filesKept = kDefaultFilesKept);
bool IsProcessLogOpen();
void WriteProcessLog(const char* szFunction, int nLine, const std::string& strUtf8Message);

// "Class::Function" out of a compiler's decorated function signature
// ("void ns::QelTS::DownloadTs(const QelTSItem&) const" -> "ns::QelTS::DownloadTs").
std::string ShortFunctionName(const char* szPrettyFunction);

// Collects one line and writes it to the process log when it goes out of scope.
class Record {
public:
    Record(const char* szPrettyFunction, int nLine);
    ~Record();
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    Record& operator<<(const char* sz);
    Record& operator<<(const wchar_t* sz);
    Record& operator<<(const std::string& str);
    Record& operator<<(const std::wstring& str);

    template <typename T>
    Record& operator<<(const T& value) {
        if (m_bActive)
            m_stream << value;
        return *this;
    }

private:
    void AppendText(const char* pText, std::size_t nBytes);

    bool m_bActive;
    const char* m_szFunction;
    int m_nLine;
    std::ostringstream m_stream;
};

}  // namespace qel::log

#if defined(__GNUC__) || defined(__clang__)
#define QEL_LOG_FUNCTION __PRETTY_FUNCTION__
#else
#define QEL_LOG_FUNCTION __FUNCTION__
#endif

#define QEL_LOG ::qel::log::Record(QEL_LOG_FUNCTION, __LINE__)
