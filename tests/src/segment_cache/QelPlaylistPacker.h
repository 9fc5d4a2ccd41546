#pragma once
// Test-only writer of the packed playlist container (the component itself only reads it).

#include <string>

namespace qel_test
{

// The magic "??\0\1", then strText deflated by zlib at nLevel with its scramble applied.
// Written independently of the reader so that each can catch the other's mistakes.
std::string PackPlaylist(const std::string& strText, int nLevel = 9);

// The zlib stream alone, before scrambling.
std::string Deflate(const std::string& strText, int nLevel = 9);

} // namespace qel_test
