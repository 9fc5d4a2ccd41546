// Any bytes as a persisted control (two extent words, four values): reading never goes
// past the layout, and what was read writes back to exactly the bytes it came from.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "QelFuzzCheck.h"
#include "activex/QelPersistLayout.h"

using namespace qel::activex;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static const std::vector<QelEntryForm> kForms = {QelEntryForm::Word,  QelEntryForm::Word,
                                                     QelEntryForm::Value, QelEntryForm::Value,
                                                     QelEntryForm::Value, QelEntryForm::Value};
    QelMemorySource source(pData, nSize);
    std::vector<QelPersistedEntry> entries;
    const QelLoadStatus status = QelDecodePersisted(source, kForms, entries);
    QEL_FUZZ_CHECK(source.Consumed() <= nSize);
    if (status != QelLoadStatus::Ok)
        return 0;

    std::vector<uint8_t> bytes;
    QEL_FUZZ_CHECK(QelEncodePersisted(entries, bytes));
    QEL_FUZZ_CHECK(bytes.size() == source.Consumed());
    // The version is the one field written as the current one whatever was read.
    QEL_FUZZ_CHECK(std::vector<uint8_t>(bytes.begin() + 4, bytes.end()) ==
                   std::vector<uint8_t>(pData + 4, pData + source.Consumed()));
    return 0;
}
