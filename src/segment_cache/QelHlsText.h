#pragma once
// The small text functions the playlist parser is built from.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "segment_cache/QelCScan.h"

namespace qel
{

// Attributes of a tag line such as "#EXT-X-STREAM-INF:". Keys are compared without regard
// to case; the same key may be held several times, and a lookup (GetAttribute) yields the
// value inserted first.
using QelHlsAttributeMap = std::multimap<std::string, std::string, QelStricmpLess>;

// The pieces of strText between occurrences of pszDelimiter. Empty pieces are dropped; a
// text without any delimiter (or an empty or null delimiter) yields one piece, the whole
// text, even when it is empty.
std::vector<std::string> Split(const std::string& strText, const char* pszDelimiter);

// Removes, in place, every trailing and then every leading character of str found in
// strSet.
//
// The membership table covers the character codes 0 to 254 only. Meeting a character of
// code 255 while trimming either end throws std::out_of_range("invalid string position")
// and leaves str unchanged; a code 255 in strSet is ignored. Playlists hold UTF-8, where
// byte 255 never occurs, so only a damaged playlist gets there.
void Trim(std::string& str, const std::string& strSet);

// The characters a trim removes, looked up in a table made once.
class QelTrimSet
{
public:
    explicit QelTrimSet(std::string_view set);
    // Throws std::out_of_range("invalid string position") for a character of code 255.
    bool Holds(char ch) const;

private:
    bool m_abInSet[255] = {};
};

// The part of sv that Trim would leave, as a view into sv; throws as Trim does.
std::string_view Trimmed(std::string_view sv, const QelTrimSet& set);

// The text after the first pszBegin (from the start when null) up to the next pszEnd (to
// the end when null). Empty when pszBegin is given but not found, or when pszEnd is given
// but not found after it.
std::string GetBetween(const std::string& strText, const char* pszBegin, const char* pszEnd);

// Adds to mapAttributes one pair per piece of Split(strText, pszSeparator): the key is the
// text before pszAssign, the value the text after it, both trimmed of " \r\n\t". A piece
// without pszAssign adds an empty key with an empty value. May throw std::out_of_range as
// Trim does.
void ParseAttributes(const std::string& strText, const char* pszSeparator, const char* pszAssign,
                     QelHlsAttributeMap& mapAttributes);

// The value first inserted under strKey, or an empty string.
std::string GetAttribute(const QelHlsAttributeMap& mapAttributes, const std::string& strKey);

} // namespace qel
