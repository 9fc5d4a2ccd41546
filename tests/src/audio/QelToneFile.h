// Test audio made on the spot: a 440 Hz mono tone as a 16-bit PCM WAV file.
#pragma once

#include <filesystem>

namespace qel::test {

// False when the file cannot be written.
bool WriteToneWav(const std::filesystem::path& path, int nMilliseconds);

}  // namespace qel::test
