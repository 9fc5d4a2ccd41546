// The class object COM asks a module for: it makes instances of one class through a
// creation function and keeps the module loaded while a client holds LockServer(TRUE).
// The factory itself holds no module lock, as COM expects.
#pragma once

#include <unknwn.h>

namespace qel::activex {

// Makes an object, aggregated by pOuter when it is not null, and returns riid of it.
using QelCreateFunction = HRESULT (*)(IUnknown* pOuter, REFIID riid, void** ppv);

// A new class factory for the creation function, as riid (IClassFactory or IUnknown).
HRESULT QelGetClassFactory(QelCreateFunction pfnCreate, REFIID riid, void** ppv);

}  // namespace qel::activex
