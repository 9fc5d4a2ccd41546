// The picture size of an MPEG-TS video, read from the sequence parameter set of its first
// H.264 stream. libvlc learns the size of a transport stream only from decoded pictures,
// and not at all while it holds the first one; the bitstream states it up front.
#pragma once

#include <cstddef>

struct QelVideoSize {
    int nWidth = 0;
    int nHeight = 0;
};

// From the start of a TS byte string: program table, the first H.264 stream of the first
// program, its first sequence parameter set. False when any of them is missing or broken.
bool QelTsVideoSize(const unsigned char* pData, std::size_t nSize, QelVideoSize& size);

// From one H.264 SPS NAL unit, header byte included, emulation prevention bytes still in.
// The size is the displayed one: cropping applied, both fields of interlaced frames counted.
bool QelH264SpsSize(const unsigned char* pNal, std::size_t nSize, QelVideoSize& size);
