// The remote play tests on the substitute engine: it records how it was opened and
// renders nothing, so no seek request and no end ever come from it.
#include "QelRemotePlayEngine.h"

#include "QelFakeEngine.h"

namespace fake = qel::fake_engine;

namespace qel::test::engine {

bool Renders() {
    return false;
}

void Forget() {
    fake::Reset();
}

::testing::AssertionResult OpenedWith(const std::string& strPlaylistA, std::size_t nSegments) {
    int nOpens = 0;
    ::testing::AssertionResult result = ::testing::AssertionSuccess();
    for (const fake::Call& call : fake::Calls()) {
        if (call.strName != "Open")
            continue;
        if (++nOpens == 1 && (call.strPath != strPlaylistA || call.nSegments != nSegments))
            result = ::testing::AssertionFailure() << "opened " << call.strPath << " with " << call.nSegments
                                                   << " segments; expected " << strPlaylistA << " with " << nSegments;
    }
    if (nOpens != 1)
        return ::testing::AssertionFailure() << "opened " << nOpens << " times: " << fake::CallNames();
    return result;
}

}  // namespace qel::test::engine
