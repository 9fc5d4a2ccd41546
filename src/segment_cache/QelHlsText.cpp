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

QelTrimSet::QelTrimSet(std::string_view set)
{
    for (unsigned char c : set)
    {
        if (c < sizeof(m_abInSet))
            m_abInSet[c] = true;
    }
}

bool QelTrimSet::Holds(char ch) const
{
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c >= sizeof(m_abInSet))
        throw std::out_of_range("invalid string position");
    return m_abInSet[c];
}

std::string_view Trimmed(std::string_view sv, const QelTrimSet& set)
{
    size_t nEnd = sv.size();
    while (nEnd > 0 && set.Holds(sv[nEnd - 1]))
        --nEnd;
    size_t nBegin = 0;
    while (nBegin < nEnd && set.Holds(sv[nBegin]))
        ++nBegin;
    return sv.substr(nBegin, nEnd - nBegin);
}

void Trim(std::string& str, const std::string& strSet)
{
    const std::string_view trimmed = Trimmed(str, QelTrimSet(strSet));
    const size_t nBegin = static_cast<size_t>(trimmed.data() - str.data());
    str.erase(nBegin + trimmed.size());
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
