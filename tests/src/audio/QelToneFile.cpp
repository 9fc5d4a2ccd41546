#include "QelToneFile.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>

namespace qel::test {

bool WriteToneWav(const std::filesystem::path& path, int nMilliseconds) {
    const std::uint32_t nRate = 44100;
    const std::uint32_t nSamples = static_cast<std::uint32_t>(1ULL * nRate * static_cast<unsigned>(nMilliseconds) / 1000);
    std::string bytes;
    const auto put = [&bytes](std::uint32_t nValue, int nBytes) {
        for (int i = 0; i < nBytes; ++i)
            bytes += static_cast<char>((nValue >> (8 * i)) & 0xFF);
    };
    // RIFF header, then a PCM format chunk: mono, 16 bits, block alignment 2.
    bytes += "RIFF";
    put(36 + nSamples * 2, 4);
    bytes += "WAVEfmt ";
    for (const auto& [nValue, nBytes] : {std::pair{16u, 4}, {1u, 2}, {1u, 2}, {nRate, 4}, {nRate * 2, 4}, {2u, 2}, {16u, 2}})
        put(nValue, nBytes);
    bytes += "data";
    put(nSamples * 2, 4);
    for (std::uint32_t i = 0; i < nSamples; ++i)
        put(static_cast<std::uint16_t>(std::lround(8000.0 * std::sin(6.283185307179586 * 440.0 * i / nRate))), 2);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << bytes;
    return static_cast<bool>(file);
}

}  // namespace qel::test
