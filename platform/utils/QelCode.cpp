#include "utils/QelCode.h"

#include <vector>

#include "utils/QelFile.h"
#include "utils/QelHash.h"

namespace {

constexpr size_t kBlockSize = 1u << 20;

std::wstring HashBytes(QelHash::Algorithm algorithm, const void* data, size_t n) {
    QelHash hash(algorithm);
    hash.Update(data, n);
    return hash.FinishHex();
}

bool HashFile(QelHash::Algorithm algorithm, const std::wstring& path, std::wstring& out) {
    out.clear();
    QelFile file;
    if (!file.Open(path, false)) return false;
    const long long llSize = file.GetSize();
    if (llSize < 0) return false;

    QelHash hash(algorithm);
    std::vector<unsigned char> block(kBlockSize);
    long long llDone = 0;
    for (;;) {
        const size_t got = file.Read(block.data(), block.size());
        if (got == 0) break;
        if (!hash.Update(block.data(), got)) return false;
        llDone += static_cast<long long>(got);
    }
    // Ending short of the size seen at the start means a read error, not the file's end.
    if (llDone < llSize) return false;
    out = hash.FinishHex();
    return !out.empty();
}

}  // namespace

std::wstring QelHexLower(const std::vector<unsigned char>& bytes) {
    static const wchar_t kDigits[] = L"0123456789abcdef";
    std::wstring hex;
    hex.reserve(bytes.size() * 2);
    for (unsigned char b : bytes) {
        hex.push_back(kDigits[b >> 4]);
        hex.push_back(kDigits[b & 0x0F]);
    }
    return hex;
}

std::wstring QelCode::Md5Encrypt(const std::string& utf8Key) {
    return HashBytes(QelHash::Algorithm::Md5, utf8Key.data(), utf8Key.size());
}

bool QelCode::SHA256File(const std::wstring& path, std::wstring& out) {
    return HashFile(QelHash::Algorithm::Sha256, path, out);
}

bool QelCode::MD5File(const std::wstring& path, std::wstring& out) {
    return HashFile(QelHash::Algorithm::Md5, path, out);
}

std::wstring QelCode::Sha256Hex(const void* data, size_t n) {
    return HashBytes(QelHash::Algorithm::Sha256, data, n);
}
