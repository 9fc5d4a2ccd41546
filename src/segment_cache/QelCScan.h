#pragma once
// Number reading and key comparison as the C library does them in the "C" locale, whatever
// locale the host process has set: playlists always write "10.5", never "10,5".
//
// The Scan functions read one number the way the corresponding scanf conversion does:
// leading C white space (" \t\n\v\f\r") is skipped, an optional sign is taken, then the
// longest prefix that forms a number. When no number can be read they return false and
// leave the target untouched. *pnUsed, when given, receives the count of bytes consumed.
//
// Out-of-range values get a defined result instead of the C library's undefined one:
// integers saturate at the limits of their type, floats become +-infinity (overflow) or
// +-0 (underflow), as strtof reports them.

#include <string_view>

namespace qel
{

// "%d": decimal integer, saturated to the int range.
bool ScanInt(std::string_view sv, int& nValue, size_t* pnUsed = nullptr);

// "%lld": decimal integer, saturated to the long long range.
bool ScanLongLong(std::string_view sv, long long& llValue, size_t* pnUsed = nullptr);

// "%f": decimal or hexadecimal floating point, "inf", "infinity", "nan", "nan(...)".
bool ScanFloat(std::string_view sv, float& fValue, size_t* pnUsed = nullptr);

// atoi: ScanInt, 0 when nothing can be read.
int Atoi(std::string_view sv);

// _stricmp: compares byte by byte after mapping 'A'-'Z' to 'a'-'z', up to the first zero byte;
// <0, 0 or >0.
int Stricmp(std::string_view a, std::string_view b);

// Strict weak ordering by Stricmp, for ordered containers keyed without regard to case.
struct QelStricmpLess
{
    bool operator()(std::string_view a, std::string_view b) const { return Stricmp(a, b) < 0; }
};

} // namespace qel
