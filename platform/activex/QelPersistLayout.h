// The persisted form of a control's property map, with no COM in it, so that it builds and
// is tested everywhere and can be fed any bytes. The form is a format version, then each
// entry of the map in order: a raw 32-bit word (the extent) or a tagged value (a variant
// type and its data; a string as its byte length with the terminator, then UTF-16LE).
// Everything is little-endian.
//
// Reading never goes past the layout (the stream may hold more after it) and never
// allocates more than the bytes it has read could describe: strings grow as their bytes
// arrive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qel::activex {

// The format version written, and the newest one read.
constexpr std::uint32_t kPersistVersion = 0x0C00;

// The variant types a value may carry, numbered as COM numbers them.
enum QelValueType : std::uint16_t {
    kVtEmpty = 0, kVtNull = 1, kVtI2 = 2, kVtI4 = 3, kVtR4 = 4, kVtR8 = 5, kVtCy = 6, kVtDate = 7,
    kVtBstr = 8, kVtError = 10, kVtBool = 11, kVtI1 = 16, kVtUI1 = 17, kVtUI2 = 18, kVtUI4 = 19,
    kVtI8 = 20, kVtUI8 = 21, kVtInt = 22, kVtUInt = 23
};

struct QelStoredValue {
    std::uint16_t vt = kVtEmpty;
    std::uint64_t bits = 0;                  // fixed-size data, in the low bytes
    std::optional<std::u16string> text;     // kVtBstr; none is a null string

    bool operator==(const QelStoredValue& other) const {
        return vt == other.vt && bits == other.bits && text == other.text;
    }
};

enum class QelEntryForm { Word, Value };

struct QelPersistedEntry {
    QelEntryForm form = QelEntryForm::Word;
    std::uint32_t word = 0;
    QelStoredValue value;

    bool operator==(const QelPersistedEntry& other) const {
        return form == other.form && word == other.word && value == other.value;
    }
};

// Bytes of a value's data, or -1 for a type the layout does not know (a string's data
// has a length of its own: 0 here).
int QelFixedSizeOf(std::uint16_t vt);

// The whole layout, version first. False when a value has a type the layout does not know
// or a string too long for its length field.
bool QelEncodePersisted(const std::vector<QelPersistedEntry>& entries, std::vector<std::uint8_t>& bytes);

// Where the bytes come from. Read gives up to nSize bytes and says how many it gave (fewer
// only at the end); false when the source itself failed.
class QelByteSource {
public:
    virtual ~QelByteSource() = default;
    virtual bool Read(void* pBuffer, std::size_t nSize, std::size_t& nRead) = 0;
};

class QelMemorySource : public QelByteSource {
public:
    QelMemorySource(const std::uint8_t* pData, std::size_t nSize) : m_pData(pData), m_nSize(nSize) {}
    bool Read(void* pBuffer, std::size_t nSize, std::size_t& nRead) override;
    std::size_t Consumed() const { return m_nOffset; }

private:
    const std::uint8_t* m_pData;
    std::size_t m_nSize;
    std::size_t m_nOffset = 0;
};

enum class QelLoadStatus {
    Ok,
    SourceFailed,   // the source reported an error
    Truncated,      // the bytes ended inside the layout
    NewerVersion,   // written by a newer format than kPersistVersion
    BadText,        // a string length that is odd, or a string without its terminator
    UnknownType     // a value of a type the layout does not know
};

// Reads the version and then one entry per form. On any status but Ok the entries read so
// far are of no use: the caller applies nothing.
QelLoadStatus QelDecodePersisted(QelByteSource& source, const std::vector<QelEntryForm>& forms,
                                 std::vector<QelPersistedEntry>& entries);

}  // namespace qel::activex
