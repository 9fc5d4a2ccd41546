#include "activex/QelComModule.h"

#include <atomic>
#include <vector>

// The linker's symbol for the start of the image this code is linked into.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace qel::activex {

namespace {
// DllCanUnloadNow may be asked on any thread.
std::atomic<long> g_nLocks{0};
}  // namespace

HINSTANCE QelModuleInstance() { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

std::wstring QelModuleFileName() {
    std::vector<wchar_t> buffer(MAX_PATH);
    for (;;) {
        const DWORD n = ::GetModuleFileNameW(QelModuleInstance(), buffer.data(), static_cast<DWORD>(buffer.size()));
        if (n == 0) return std::wstring();
        if (n < buffer.size()) return std::wstring(buffer.data(), n);
        buffer.resize(buffer.size() * 2);
    }
}

void QelLockModule() { ++g_nLocks; }

void QelUnlockModule() { --g_nLocks; }

long QelModuleLockCount() { return g_nLocks; }

}  // namespace qel::activex
