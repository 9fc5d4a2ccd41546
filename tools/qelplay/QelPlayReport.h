// The human side of qelplay's output (stderr) and the --events lines (stdout).
#pragma once

#include <chrono>
#include <cstdio>
#include <string>

#include "QelPlayWindow.h"

namespace qelplay {

class Report {
public:
    explicit Report(bool bEvents);

    void Event(const Message& message);
    void Line(const std::string& strText);
    // A status line that replaces itself on a terminal.
    void Status(const std::string& strText);
    double SecondsSinceStart() const;

    static std::string Clock(long long llMs);
    static std::string Bytes(long long llBytes);
    static std::string Bar(int nDone, int nTotal, int nWidth = 24);

private:
    bool m_bEvents;
    bool m_bTerminal;
    bool m_bStatusShown = false;
    std::string m_strLastStatus;
    std::chrono::steady_clock::time_point m_start;
};

}  // namespace qelplay
