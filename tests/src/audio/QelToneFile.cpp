#include "QelToneFile.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <vector>

namespace qel::test {

namespace {

void PutLe(std::vector<char>& out, std::uint32_t nValue, int nBytes) {
    for (int i = 0; i < nBytes; ++i)
        out.push_back(static_cast<char>((nValue >> (8 * i)) & 0xFF));
}

}  // namespace

bool WriteToneWav(const std::filesystem::path& path, int nMilliseconds) {
    const std::uint32_t nRate = 44100;
    const std::uint32_t nSamples = nRate / 1000 * static_cast<std::uint32_t>(nMilliseconds) +
                                   nRate % 1000 * static_cast<std::uint32_t>(nMilliseconds) / 1000;
    const std::uint32_t nDataBytes = nSamples * 2;

    std::vector<char> bytes;
    bytes.reserve(44 + nDataBytes);
    bytes.insert(bytes.end(), {'R', 'I', 'F', 'F'});
    PutLe(bytes, 36 + nDataBytes, 4);
    bytes.insert(bytes.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
    PutLe(bytes, 16, 4);         // format chunk size
    PutLe(bytes, 1, 2);          // PCM
    PutLe(bytes, 1, 2);          // mono
    PutLe(bytes, nRate, 4);
    PutLe(bytes, nRate * 2, 4);  // bytes per second
    PutLe(bytes, 2, 2);          // block alignment
    PutLe(bytes, 16, 2);         // bits per sample
    bytes.insert(bytes.end(), {'d', 'a', 't', 'a'});
    PutLe(bytes, nDataBytes, 4);
    const double kTwoPi = 6.283185307179586;
    for (std::uint32_t i = 0; i < nSamples; ++i) {
        const double fSample = 8000.0 * std::sin(kTwoPi * 440.0 * i / nRate);
        PutLe(bytes, static_cast<std::uint32_t>(static_cast<std::int16_t>(std::lround(fSample))) & 0xFFFF, 2);
    }

    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(file);
}

}  // namespace qel::test
