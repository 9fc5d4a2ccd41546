// One line per figure in a form scripts/bench.sh gathers into docs/benchmarks.md:
//   BENCH|figure|our value|the peer's value in the same run|ratio
#pragma once

#include <cstdio>

inline void PrintBenchRow(const char* szFigure, const char* szOurs, const char* szPeer, double ratio) {
    std::printf("BENCH|%s|%s|%s|%.2f\n", szFigure, szOurs, szPeer, ratio);
}

inline const char* FormatBench(char* szBuffer, std::size_t nSize, const char* szFormat, double value) {
    std::snprintf(szBuffer, nSize, szFormat, value);
    return szBuffer;
}
