// Windows only: what the control's tests share: the library registered and unregistered
// through its own entry points, streams of bytes, a property-notify sink that records (and
// may refuse), and what a window shows.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <cstdint>
#include <string>
#include <vector>

#include "QelFakeEngine.h"

namespace fake = qel::fake_engine;

namespace qel::test {

// <build>\bin\QelMediaPlayer.dll, beside this program's folder.
std::wstring LibraryPath();
// DllRegisterServer or DllUnregisterServer of the library.
HRESULT RegisterLibrary(bool bRegister);

// A stream over a copy of the bytes, at its start.
Microsoft::WRL::ComPtr<IStream> StreamOf(const std::vector<std::uint8_t>& bytes);
// What IPersistStreamInit::Save(fClearDirty) writes.
std::vector<std::uint8_t> SavedBytes(IUnknown* pControl);
HRESULT LoadBytes(IUnknown* pControl, const std::vector<std::uint8_t>& bytes);
std::vector<std::uint8_t> StreamBytes(IStorage* pStorage, const wchar_t* pszStream);

// Records "edit <dispid>" and "changed <dispid>"; refuses every edit when told to.
class RecordingSink : public IPropertyNotifySink {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP OnChanged(DISPID dispID) override;
    STDMETHODIMP OnRequestEdit(DISPID dispID) override;

    DWORD AdviseTo(IUnknown* pControl);
    void UnadviseFrom(IUnknown* pControl, DWORD dwCookie);
    std::string Log() const { return m_strLog.empty() ? m_strLog : m_strLog.substr(1); }

    bool bRefuse = false;

private:
    std::string m_strLog;
};

// "x,y WxH" of a child window in its parent's client area.
std::string ChildRect(HWND hWnd);
// What the window paints into a device context of its size: "frame black, inside white"
// when that is all, else the counts.
std::string PaintedFrame(HWND hWnd);

}  // namespace qel::test
