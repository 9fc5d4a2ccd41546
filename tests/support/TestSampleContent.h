// The sample media of the build tree, made with ffmpeg by scripts/make-sample-content.sh:
//   hls/index.m3u8, hls/index0.ts ... index4.ts (1-second segments), hls/sha256.txt,
//   plain.mp4 (2 s, 320x240), tone.mp3 and tone.wav (3 s).
#pragma once

#include <map>
#include <string>

namespace qel::test {

// The sample folder, ending with the path separator.
std::wstring SampleDir();
// A sample file by its path under the folder ('/' separated).
std::wstring SampleFile(const std::string& strRelative);
// The same path in the ANSI code page, as the engine and QelHttp take it.
std::string SampleFileA(const std::string& strRelative);
// Segment file name -> SHA-256 (lower-case hex) of the sample HLS video.
std::map<std::string, std::string> SampleSegmentDigests();

}  // namespace qel::test
