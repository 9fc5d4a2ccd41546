#pragma once
// Reading of the packed playlist container: the magic "??\0\1", then a zlib stream of the
// playlist text in which up to nine bytes are XOR-scrambled. The component only reads it.

#include <cstddef>
#include <string>

namespace qel
{

constexpr char kPackedPlaylistMagic[4] = {'?', '?', '\0', '\1'};
constexpr size_t kPackedPlaylistHeaderSize = sizeof(kPackedPlaylistMagic);
// The format's bound on the inflated size: a payload that inflates to more than this many
// times its own size does not unpack.
constexpr size_t kPackedPlaylistInflateFactor = 20;
// The component's bound on what it reads of a cached playlist: a file larger than this is
// not read, and a packed one whose text would be larger does not unpack. 64 MiB holds a
// playlist of some three million segments.
constexpr size_t kMaxPlaylistBytes = size_t{64} << 20;

// True when strFile begins with the container's magic.
bool IsPackedPlaylist(const std::string& strFile);

// XORs the last byte of each of nine equal slices of the payload with 9, 8, ..., 1 times the
// slice length (low 8 bits); a payload shorter than nine bytes has every byte j XOR-ed with
// nSize - j. Its own inverse: the same call scrambles and unscrambles.
void XorPackedPayload(unsigned char* pPayload, size_t nSize);

// The text of a packed container (header included): unscrambled, inflated, up to the first
// zero byte. Empty when the file is shorter than the header, is not packed, does not
// inflate within the format's bound, or has a text longer than kMaxPlaylistBytes. Memory
// follows the text, not the bound.
std::string UnpackPlaylist(const std::string& strFile);

// The text of a cached playlist file's bytes, plain or packed: a plain file is taken up to
// its first zero byte, a packed one is unpacked.
std::string PlaylistFileText(const std::string& strFile);

} // namespace qel
