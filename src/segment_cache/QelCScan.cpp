#include "segment_cache/QelCScan.h"

#include <charconv>
#include <limits>
#include <system_error>
#include <type_traits>

namespace qel
{
namespace
{

bool IsCSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

size_t SkipSpace(std::string_view sv)
{
    size_t i = 0;
    while (i < sv.size() && IsCSpace(sv[i]))
        ++i;
    return i;
}

template <typename T>
bool ScanInteger(std::string_view sv, T& value, size_t* pnUsed)
{
    using U = std::make_unsigned_t<T>;
    size_t i = SkipSpace(sv);
    bool bNegative = false;
    if (i < sv.size() && (sv[i] == '+' || sv[i] == '-'))
        bNegative = sv[i++] == '-';
    if (i >= sv.size() || !IsDigit(sv[i]))
        return false;

    // The magnitude of the most negative value is one more than the largest positive one.
    const U uLimit = static_cast<U>(std::numeric_limits<T>::max()) + (bNegative ? 1u : 0u);
    U uMagnitude = 0;
    for (; i < sv.size() && IsDigit(sv[i]); ++i)
    {
        const unsigned nDigit = static_cast<unsigned>(sv[i] - '0');
        uMagnitude = uMagnitude > (uLimit - nDigit) / 10 ? uLimit : uMagnitude * 10 + nDigit;
    }

    if (!bNegative)
        value = static_cast<T>(uMagnitude);
    else if (uMagnitude == uLimit)
        value = std::numeric_limits<T>::min();
    else
        value = -static_cast<T>(uMagnitude);
    if (pnUsed)
        *pnUsed = i;
    return true;
}

// Rough power of the radix of a number's text (mantissa digits plus exponent). Only used to
// tell overflow from underflow when the exact conversion reports a result out of range, and
// such results are so far from 1 that the sign of the estimate cannot be wrong.
long long EstimateMagnitude(const char* pBegin, const char* pEnd, bool bHex)
{
    const char* p = pBegin;
    long long llIntegerDigits = 0;
    bool bSeenNonZero = false;
    for (; p < pEnd && (bHex ? IsHexDigit(*p) : IsDigit(*p)); ++p)
    {
        bSeenNonZero = bSeenNonZero || *p != '0';
        if (bSeenNonZero)
            ++llIntegerDigits;
    }
    long long llLeadingFractionZeros = 0;
    if (p < pEnd && *p == '.')
    {
        for (++p; p < pEnd && (bHex ? IsHexDigit(*p) : IsDigit(*p)); ++p)
        {
            if (!bSeenNonZero && *p == '0')
                ++llLeadingFractionZeros;
            else
                bSeenNonZero = true;
        }
    }
    long long llMantissa = llIntegerDigits > 0 ? llIntegerDigits : -llLeadingFractionZeros;
    if (bHex)
        llMantissa *= 4;   // the exponent of a hexadecimal float counts bits

    long long llExponent = 0;
    if (p < pEnd && (*p == 'e' || *p == 'E' || *p == 'p' || *p == 'P'))
    {
        ++p;
        bool bNegative = false;
        if (p < pEnd && (*p == '+' || *p == '-'))
            bNegative = *p++ == '-';
        for (; p < pEnd && IsDigit(*p); ++p)
            if (llExponent < 1000000000)
                llExponent = llExponent * 10 + (*p - '0');
        if (bNegative)
            llExponent = -llExponent;
    }
    return llMantissa + llExponent;
}

} // namespace

bool ScanInt(std::string_view sv, int& nValue, size_t* pnUsed)
{
    return ScanInteger(sv, nValue, pnUsed);
}

bool ScanLongLong(std::string_view sv, long long& llValue, size_t* pnUsed)
{
    return ScanInteger(sv, llValue, pnUsed);
}

bool ScanFloat(std::string_view sv, float& fValue, size_t* pnUsed)
{
    size_t i = SkipSpace(sv);
    bool bNegative = false;
    if (i < sv.size() && (sv[i] == '+' || sv[i] == '-'))
        bNegative = sv[i++] == '-';
    const char* p = sv.data() + i;
    const char* pEnd = sv.data() + sv.size();
    // std::from_chars takes a '-' of its own, which scanf would not after a first sign.
    if (p < pEnd && (*p == '+' || *p == '-'))
        return false;

    float fResult = 0.0f;
    bool bHex = false;
    std::from_chars_result result{p, std::errc::invalid_argument};
    if (pEnd - p >= 3 && p[0] == '0' && (p[1] == 'x' || p[1] == 'X') &&
        (IsHexDigit(p[2]) || (p[2] == '.' && pEnd - p >= 4 && IsHexDigit(p[3]))))
    {
        bHex = true;
        result = std::from_chars(p + 2, pEnd, fResult, std::chars_format::hex);
    }
    else
    {
        // "0x" without hexadecimal digits reads as the number 0, as strtof does.
        result = std::from_chars(p, pEnd, fResult, std::chars_format::general);
    }

    if (result.ec == std::errc::invalid_argument)
        return false;
    if (result.ec == std::errc::result_out_of_range)
    {
        const bool bOverflow = EstimateMagnitude(bHex ? p + 2 : p, result.ptr, bHex) > 0;
        fResult = bOverflow ? std::numeric_limits<float>::infinity() : 0.0f;
    }
    fValue = bNegative ? -fResult : fResult;
    if (pnUsed)
        *pnUsed = static_cast<size_t>(result.ptr - sv.data());
    return true;
}

int Atoi(std::string_view sv)
{
    int nValue = 0;
    ScanInt(sv, nValue);
    return nValue;
}

int Stricmp(std::string_view a, std::string_view b)
{
    // A zero byte ends a key, as it ends a C string.
    for (size_t i = 0;; ++i)
    {
        unsigned char ca = i < a.size() ? static_cast<unsigned char>(a[i]) : 0;
        unsigned char cb = i < b.size() ? static_cast<unsigned char>(b[i]) : 0;
        if (ca >= 'A' && ca <= 'Z')
            ca = static_cast<unsigned char>(ca - 'A' + 'a');
        if (cb >= 'A' && cb <= 'Z')
            cb = static_cast<unsigned char>(cb - 'A' + 'a');
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == 0)
            return 0;
    }
}

} // namespace qel
