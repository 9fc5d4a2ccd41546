#include "activex/QelPersistLayout.h"

#include <algorithm>
#include <limits>

namespace qel::activex {

namespace {

// Strings are read in pieces of this size, so a length field alone never allocates much.
constexpr std::size_t kTextChunkBytes = 64 * 1024;

void PutLittleEndian(std::vector<std::uint8_t>& bytes, std::uint64_t value, int nBytes) {
    for (int i = 0; i < nBytes; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::uint64_t GetLittleEndian(const std::uint8_t* p, int nBytes) {
    std::uint64_t value = 0;
    for (int i = 0; i < nBytes; ++i) value |= static_cast<std::uint64_t>(p[i]) << (8 * i);
    return value;
}

bool EncodeValue(const QelStoredValue& value, std::vector<std::uint8_t>& bytes) {
    const int nSize = QelFixedSizeOf(value.vt);
    if (nSize < 0) return false;
    PutLittleEndian(bytes, value.vt, 2);
    if (value.vt != kVtBstr) {
        PutLittleEndian(bytes, value.bits, nSize);
        return true;
    }
    if (!value.text) {
        PutLittleEndian(bytes, 0, 4);
        return true;
    }
    const std::size_t nUnits = value.text->size() + 1;
    if (nUnits > std::numeric_limits<std::uint32_t>::max() / 2) return false;
    PutLittleEndian(bytes, nUnits * 2, 4);
    for (char16_t ch : *value.text) PutLittleEndian(bytes, ch, 2);
    PutLittleEndian(bytes, 0, 2);
    return true;
}

// Reads exactly nSize bytes, or says why not.
QelLoadStatus ReadExactly(QelByteSource& source, void* pBuffer, std::size_t nSize) {
    std::size_t nRead = 0;
    if (!source.Read(pBuffer, nSize, nRead)) return QelLoadStatus::SourceFailed;
    return nRead == nSize ? QelLoadStatus::Ok : QelLoadStatus::Truncated;
}

QelLoadStatus ReadNumber(QelByteSource& source, int nBytes, std::uint64_t& value) {
    std::uint8_t buffer[8];
    const QelLoadStatus status = ReadExactly(source, buffer, static_cast<std::size_t>(nBytes));
    if (status == QelLoadStatus::Ok) value = GetLittleEndian(buffer, nBytes);
    return status;
}

QelLoadStatus ReadText(QelByteSource& source, std::optional<std::u16string>& text) {
    std::uint64_t nBytes = 0;
    QelLoadStatus status = ReadNumber(source, 4, nBytes);
    if (status != QelLoadStatus::Ok) return status;
    if (nBytes == 0) {
        text.reset();
        return QelLoadStatus::Ok;
    }
    if (nBytes % 2 != 0) return QelLoadStatus::BadText;

    std::vector<std::uint8_t> raw;
    while (raw.size() < nBytes) {
        const std::size_t nChunk = std::min<std::uint64_t>(kTextChunkBytes, nBytes - raw.size());
        const std::size_t nOld = raw.size();
        raw.resize(nOld + nChunk);
        status = ReadExactly(source, raw.data() + nOld, nChunk);
        if (status != QelLoadStatus::Ok) return status;
    }
    const std::size_t nUnits = raw.size() / 2 - 1;
    if (raw[2 * nUnits] != 0 || raw[2 * nUnits + 1] != 0) return QelLoadStatus::BadText;
    std::u16string value(nUnits, u'\0');
    for (std::size_t i = 0; i < nUnits; ++i) value[i] = static_cast<char16_t>(GetLittleEndian(&raw[2 * i], 2));
    text = std::move(value);
    return QelLoadStatus::Ok;
}

QelLoadStatus ReadValue(QelByteSource& source, QelStoredValue& value) {
    std::uint64_t vt = 0;
    QelLoadStatus status = ReadNumber(source, 2, vt);
    if (status != QelLoadStatus::Ok) return status;
    value = QelStoredValue{};
    value.vt = static_cast<std::uint16_t>(vt);
    const int nSize = QelFixedSizeOf(value.vt);
    if (nSize < 0) return QelLoadStatus::UnknownType;
    if (value.vt == kVtBstr) return ReadText(source, value.text);
    return nSize == 0 ? QelLoadStatus::Ok : ReadNumber(source, nSize, value.bits);
}

}  // namespace

int QelFixedSizeOf(std::uint16_t vt) {
    switch (vt) {
    case kVtEmpty: case kVtNull: case kVtBstr: return 0;
    case kVtI1: case kVtUI1: return 1;
    case kVtI2: case kVtUI2: case kVtBool: return 2;
    case kVtI4: case kVtUI4: case kVtInt: case kVtUInt: case kVtR4: case kVtError: return 4;
    case kVtI8: case kVtUI8: case kVtR8: case kVtCy: case kVtDate: return 8;
    default: return -1;
    }
}

bool QelEncodePersisted(const std::vector<QelPersistedEntry>& entries, std::vector<std::uint8_t>& bytes) {
    bytes.clear();
    PutLittleEndian(bytes, kPersistVersion, 4);
    for (const QelPersistedEntry& entry : entries) {
        if (entry.form == QelEntryForm::Word) {
            PutLittleEndian(bytes, entry.word, 4);
        } else if (!EncodeValue(entry.value, bytes)) {
            return false;
        }
    }
    return true;
}

bool QelMemorySource::Read(void* pBuffer, std::size_t nSize, std::size_t& nRead) {
    nRead = std::min(nSize, m_nSize - m_nOffset);
    std::copy_n(m_pData + m_nOffset, nRead, static_cast<std::uint8_t*>(pBuffer));
    m_nOffset += nRead;
    return true;
}

QelLoadStatus QelDecodePersisted(QelByteSource& source, const std::vector<QelEntryForm>& forms,
                                 std::vector<QelPersistedEntry>& entries) {
    entries.clear();
    std::uint64_t version = 0;
    QelLoadStatus status = ReadNumber(source, 4, version);
    if (status != QelLoadStatus::Ok) return status;
    if (version > kPersistVersion) return QelLoadStatus::NewerVersion;
    for (QelEntryForm form : forms) {
        QelPersistedEntry entry;
        entry.form = form;
        if (form == QelEntryForm::Word) {
            std::uint64_t word = 0;
            status = ReadNumber(source, 4, word);
            entry.word = static_cast<std::uint32_t>(word);
        } else {
            status = ReadValue(source, entry.value);
        }
        if (status != QelLoadStatus::Ok) return status;
        entries.push_back(std::move(entry));
    }
    return QelLoadStatus::Ok;
}

}  // namespace qel::activex
