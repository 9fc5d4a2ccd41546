// The persisted layout of a property map: bytes written, read back, and every way a
// damaged stream is refused without reading past it.
#include "activex/QelPersistLayout.h"

#include <gtest/gtest.h>

#include <cstring>

namespace qel::activex {
namespace {

const std::vector<QelEntryForm> kForms = {QelEntryForm::Word, QelEntryForm::Value, QelEntryForm::Value,
                                          QelEntryForm::Value};

std::vector<QelPersistedEntry> SampleEntries() {
    QelPersistedEntry extent;
    extent.word = 0x11223344;
    QelPersistedEntry number;
    number.form = QelEntryForm::Value;
    number.value.vt = kVtI4;
    number.value.bits = 0xfffffffe;
    QelPersistedEntry text = number;
    text.value = QelStoredValue{kVtBstr, 0, std::u16string(u"a\u00e9")};
    QelPersistedEntry none = number;
    none.value = QelStoredValue{kVtBstr, 0, std::nullopt};
    return {extent, number, text, none};
}

QelLoadStatus Decode(const std::vector<std::uint8_t>& bytes, std::vector<QelPersistedEntry>& entries,
                     size_t* pConsumed = nullptr) {
    QelMemorySource source(bytes.data(), bytes.size());
    const QelLoadStatus status = QelDecodePersisted(source, kForms, entries);
    if (pConsumed != nullptr) *pConsumed = source.Consumed();
    return status;
}

// The bytes themselves are the control's test, against a layout written out there.
TEST(QelPersistLayout, ReadsBackExactlyItsOwnBytes) {
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(QelEncodePersisted(SampleEntries(), bytes));
    std::vector<std::uint8_t> withTrailer = bytes;
    withTrailer.push_back(0x5a);
    std::vector<QelPersistedEntry> entries;
    size_t nConsumed = 0;
    ASSERT_EQ(Decode(withTrailer, entries, &nConsumed), QelLoadStatus::Ok);
    EXPECT_EQ(entries, SampleEntries());
    EXPECT_EQ(nConsumed, bytes.size());
}

TEST(QelPersistLayout, EveryShortStreamIsTruncated) {
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(QelEncodePersisted(SampleEntries(), bytes));
    for (size_t n = 0; n < bytes.size(); ++n) {
        std::vector<QelPersistedEntry> entries;
        EXPECT_EQ(Decode(std::vector<std::uint8_t>(bytes.begin(), bytes.begin() + n), entries),
                  QelLoadStatus::Truncated)
            << n << " bytes";
    }
}

struct DamageRow {
    const char* pszBehaviour;
    size_t nOffset;
    std::vector<std::uint8_t> replacement;
    QelLoadStatus status;
};

void PrintTo(const DamageRow& row, std::ostream* pOut) { *pOut << '"' << row.pszBehaviour << '"'; }

class QelPersistLayoutDamage : public testing::TestWithParam<DamageRow> {};

TEST_P(QelPersistLayoutDamage, IsRefused) {
    std::vector<std::uint8_t> bytes;
    ASSERT_TRUE(QelEncodePersisted(SampleEntries(), bytes));
    std::memcpy(&bytes[GetParam().nOffset], GetParam().replacement.data(), GetParam().replacement.size());
    std::vector<QelPersistedEntry> entries;
    EXPECT_EQ(Decode(bytes, entries), GetParam().status);
}

// Offsets into the sample: 8 the number's type, 16 the text's length, 24 its terminator.
// A newer version is the control's test, which also sees that nothing of it is applied.
INSTANTIATE_TEST_SUITE_P(
    Rows, QelPersistLayoutDamage,
    testing::Values(DamageRow{"unknown variant type", 8, {0x09, 0x00}, QelLoadStatus::UnknownType},
                    DamageRow{"odd text length", 16, {0x05}, QelLoadStatus::BadText},
                    DamageRow{"text without terminator", 24, {'b'}, QelLoadStatus::BadText},
                    DamageRow{"absurd text length", 16, {0xf0, 0xff, 0xff, 0xff}, QelLoadStatus::Truncated}),
    [](const testing::TestParamInfo<DamageRow>& info) {
        std::string name = info.param.pszBehaviour;
        for (char& ch : name) ch = ch == ' ' ? '_' : ch;
        return name;
    });

TEST(QelPersistLayout, SourceFailureIsReported) {
    struct FailingSource : QelByteSource {
        bool Read(void*, size_t, size_t& nRead) override {
            nRead = 0;
            return false;
        }
    } source;
    std::vector<QelPersistedEntry> entries;
    EXPECT_EQ(QelDecodePersisted(source, kForms, entries), QelLoadStatus::SourceFailed);
}

}  // namespace
}  // namespace qel::activex
