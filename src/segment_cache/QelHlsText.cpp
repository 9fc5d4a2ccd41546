#include "segment_cache/QelHlsText.h"

#include <cstring>
#include <stdexcept>

namespace qel
{

std::vector<std::string> Split(const std::string& strText, const char* pszDelimiter)
{
    std::vector<std::string> vecPieces;
    const size_t nDelimiter = pszDelimiter ? std::strlen(pszDelimiter) : 0;
    size_t nPos = nDelimiter ? strText.find(pszDelimiter, 0, nDelimiter) : std::string::npos;
    if (nPos == std::string::npos)
    {
        vecPieces.push_back(strText);
        return vecPieces;
    }

    size_t nStart = 0;
    while (nPos != std::string::npos)
    {
        if (nPos > nStart)
            vecPieces.emplace_back(strText, nStart, nPos - nStart);
        nStart = nPos + nDelimiter;
        nPos = strText.find(pszDelimiter, nStart, nDelimiter);
    }
    if (nStart < strText.size())
        vecPieces.emplace_back(strText, nStart);
    return vecPieces;
}

void Trim(std::string& str, const std::string& strSet)
{
    bool abInSet[255] = {};
    for (unsigned char c : strSet)
    {
        if (c < sizeof(abInSet))
            abInSet[c] = true;
    }
    auto isTrimmed = [&abInSet](char ch) {
        const unsigned char c = static_cast<unsigned char>(ch);
        if (c >= sizeof(abInSet))
            throw std::out_of_range("invalid string position");
        return abInSet[c];
    };

    size_t nEnd = str.size();
    while (nEnd > 0 && isTrimmed(str[nEnd - 1]))
        --nEnd;
    size_t nBegin = 0;
    while (nBegin < nEnd && isTrimmed(str[nBegin]))
        ++nBegin;

    str.erase(nEnd);
    str.erase(0, nBegin);
}

std::string GetBetween(const std::string& strText, const char* pszBegin, const char* pszEnd)
{
    size_t nStart = 0;
    if (pszBegin)
    {
        const size_t nPos = strText.find(pszBegin);
        if (nPos == std::string::npos)
            return std::string();
        nStart = nPos + std::strlen(pszBegin);
    }
    if (!pszEnd)
        return strText.substr(nStart);
    const size_t nStop = strText.find(pszEnd, nStart);
    if (nStop == std::string::npos)
        return std::string();
    return strText.substr(nStart, nStop - nStart);
}

void ParseAttributes(const std::string& strText, const char* pszSeparator, const char* pszAssign,
                     QelHlsAttributeMap& mapAttributes)
{
    static const std::string s_strBlanks = " \r\n\t";
    for (const std::string& strPiece : Split(strText, pszSeparator))
    {
        std::string strKey = GetBetween(strPiece, nullptr, pszAssign);
        std::string strValue = GetBetween(strPiece, pszAssign, nullptr);
        Trim(strKey, s_strBlanks);
        Trim(strValue, s_strBlanks);
        mapAttributes.emplace(std::move(strKey), std::move(strValue));
    }
}

std::string GetAttribute(const QelHlsAttributeMap& mapAttributes, const std::string& strKey)
{
    // multimap keeps equal keys in insertion order, so the lower bound is the first one.
    auto it = mapAttributes.lower_bound(strKey);
    if (it == mapAttributes.end() || Stricmp(it->first, strKey) != 0)
        return std::string();
    return it->second;
}

} // namespace qel
