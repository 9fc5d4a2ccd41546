// The module the control framework is linked into (the library, or a program that serves
// its classes itself): its instance handle and file name, and the lock count that says
// whether COM may unload it. Every object the module hands out holds a lock for its
// lifetime (QelModuleLock), and IClassFactory::LockServer adds its own.
#pragma once

#include <windows.h>

#include <string>

namespace qel::activex {

HINSTANCE QelModuleInstance();
// The module's full path; empty if it cannot be taken.
std::wstring QelModuleFileName();

void QelLockModule();
void QelUnlockModule();
long QelModuleLockCount();

class QelModuleLock {
public:
    QelModuleLock() { QelLockModule(); }
    ~QelModuleLock() { QelUnlockModule(); }
    QelModuleLock(const QelModuleLock&) = delete;
    QelModuleLock& operator=(const QelModuleLock&) = delete;
};

}  // namespace qel::activex
