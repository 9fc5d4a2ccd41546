// The ActiveX control under Wine: its persisted bytes against the layout written out here,
// what it tells a container and a script host, the stock properties' notifications, and
// the control hosted by atl.dll's container (one we did not write), created by its ProgID,
// with the player window inside it on the substitute engine. The class is served by this
// program; its registration (for the ProgID) is the library's own, which also serves the
// library's unloading once nothing of it is alive.
#include <windows.h>
#include <ole2.h>
#include <ocidl.h>
#include <objsafe.h>
#include <wrl/client.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "QelFakeEngine.h"
#include "QelMediaPlayer_h.h"
#include "control/CQelMediaPlayerCtrl.h"
#include "control/QelMediaPlayerModule.h"
#include "support/TestSampleContent.h"
#include "support/TestWin32.h"

using Microsoft::WRL::ComPtr;
using namespace qel::test;
namespace fake = qel::fake_engine;

extern "C" HRESULT WINAPI AtlAxCreateControlEx(LPCOLESTR, HWND, IStream*, IUnknown**, IUnknown**, REFIID, IUnknown*);

namespace {

// Records "edit <dispid>" and "changed <dispid>"; refuses every edit when told to.
class RecordingSink : public IPropertyNotifySink {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        const bool bKnown = riid == IID_IUnknown || riid == IID_IPropertyNotifySink;
        *ppv = bKnown ? static_cast<IPropertyNotifySink*>(this) : nullptr;
        return bKnown ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP OnChanged(DISPID dispID) override {
        m_strLog += " changed " + std::to_string(dispID);
        return S_OK;
    }
    STDMETHODIMP OnRequestEdit(DISPID dispID) override {
        m_strLog += " edit " + std::to_string(dispID);
        return bRefuse ? S_FALSE : S_OK;
    }

    // Advised to the control for the scope.
    void Advise(IUnknown* pControl) {
        ComPtr<IConnectionPointContainer> spContainer;
        if (SUCCEEDED(pControl->QueryInterface(IID_PPV_ARGS(&spContainer))) &&
            SUCCEEDED(spContainer->FindConnectionPoint(IID_IPropertyNotifySink, &m_spPoint)))
            m_spPoint->Advise(this, &m_dwCookie);
    }
    ~RecordingSink() {
        if (m_spPoint) m_spPoint->Unadvise(m_dwCookie);
    }
    std::string Log() const { return m_strLog.empty() ? m_strLog : m_strLog.substr(1); }

    bool bRefuse = false;

private:
    std::string m_strLog;
    ComPtr<IConnectionPoint> m_spPoint;
    DWORD m_dwCookie = 0;
};

// <build>\bin\QelMediaPlayer.dll, beside this program's folder.
std::wstring LibraryPath() {
    wchar_t szPath[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    std::wstring strPath = szPath;
    strPath = strPath.substr(0, strPath.find_last_of(L'\\'));  // <build>\tests
    return strPath.substr(0, strPath.find_last_of(L'\\') + 1) + L"bin\\QelMediaPlayer.dll";
}

// DllRegisterServer or DllUnregisterServer of the library.
HRESULT RegisterLibrary(bool bRegister) {
    const HMODULE hLibrary = ::LoadLibraryExW(LibraryPath().c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (hLibrary == nullptr) return HRESULT_FROM_WIN32(::GetLastError());
    using Entry = HRESULT(STDAPICALLTYPE*)();
    const auto pfnEntry = reinterpret_cast<Entry>(
        reinterpret_cast<void*>(::GetProcAddress(hLibrary, bRegister ? "DllRegisterServer" : "DllUnregisterServer")));
    const HRESULT hr = pfnEntry != nullptr ? pfnEntry() : E_NOINTERFACE;
    ::FreeLibrary(hLibrary);
    return hr;
}

// A stream over a copy of the bytes, at its start.
ComPtr<IStream> StreamOf(const std::vector<std::uint8_t>& bytes) {
    ComPtr<IStream> spStream;
    ::CreateStreamOnHGlobal(nullptr, TRUE, &spStream);
    ULONG nWritten = 0;
    spStream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &nWritten);
    spStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    return spStream;
}

std::vector<std::uint8_t> ReadAll(IStream* pStream) {
    std::vector<std::uint8_t> bytes;
    pStream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    std::uint8_t buffer[256];
    ULONG nRead = 0;
    while (SUCCEEDED(pStream->Read(buffer, sizeof(buffer), &nRead)) && nRead > 0) {
        bytes.insert(bytes.end(), buffer, buffer + nRead);
    }
    return bytes;
}

// What IPersistStreamInit::Save(fClearDirty) writes.
std::vector<std::uint8_t> SavedBytes(IUnknown* pControl) {
    ComPtr<IPersistStreamInit> spPersist;
    if (FAILED(pControl->QueryInterface(IID_PPV_ARGS(&spPersist)))) return {};
    ComPtr<IStream> spStream = StreamOf({});
    if (FAILED(spPersist->Save(spStream.Get(), TRUE))) return {};
    return ReadAll(spStream.Get());
}

HRESULT LoadBytes(IUnknown* pControl, const std::vector<std::uint8_t>& bytes) {
    ComPtr<IPersistStreamInit> spPersist;
    const HRESULT hr = pControl->QueryInterface(IID_PPV_ARGS(&spPersist));
    return FAILED(hr) ? hr : spPersist->Load(StreamOf(bytes).Get());
}

// The saved data byte by byte as a container finds it (version, extent, then each property
// as its variant type and data), written here and never by the control's own code.
struct Layout {
    std::vector<std::uint8_t> bytes;
    Layout& U16(unsigned v) { return Bytes(v, 2); }
    Layout& U32(std::uint32_t v) { return Bytes(v, 4); }
    Layout& Text(const wchar_t* psz) {
        U16(8);
        if (psz == nullptr) return U32(0);
        const std::wstring text(psz);
        U32(static_cast<std::uint32_t>(2 * (text.size() + 1)));
        for (wchar_t ch : text) U16(ch);
        return U16(0);
    }
    Layout& Bytes(std::uint32_t v, int n) {
        for (int i = 0; i < n; ++i) bytes.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
        return *this;
    }
};

std::vector<std::uint8_t> Persisted(std::uint32_t cx, std::uint32_t cy, long nBorder, long nDraw, const wchar_t* pszType,
                                    const wchar_t* pszPath) {
    return Layout()
        .U32(0x0C00).U32(cx).U32(cy)
        .U16(3).U32(static_cast<std::uint32_t>(nBorder))
        .U16(3).U32(static_cast<std::uint32_t>(nDraw))
        .Text(pszType).Text(pszPath)
        .bytes;
}

class ControlTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(::OleInitialize(nullptr)));
        fake::Reset();
    }
    void TearDown() override { ::OleUninitialize(); }

    static ComPtr<IQelMediaPlayerCtrl> NewControl() {
        ComPtr<IQelMediaPlayerCtrl> spControl;
        EXPECT_EQ(CQelMediaPlayerCtrl::CreateInstance(nullptr, IID_IQelMediaPlayerCtrl, &spControl), S_OK);
        return spControl;
    }
    static void Put(IQelMediaPlayerCtrl* pControl, const wchar_t* pszType, const wchar_t* pszPath) {
        qel::activex::QelBstr type(pszType), path(pszPath);
        ASSERT_EQ(pControl->put_Type(type.Get()), S_OK);
        ASSERT_EQ(pControl->put_Path(path.Get()), S_OK);
    }
    static std::wstring Type(IQelMediaPlayerCtrl* pControl) {
        qel::activex::QelBstr type;
        EXPECT_EQ(pControl->get_Type(type.Out()), S_OK);
        return type.Get() != nullptr ? std::wstring(type.Get()) : L"(null)";
    }
};

TEST_F(ControlTest, SaveWritesTheDocumentedBytesAndGetSizeMaxAgrees) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    EXPECT_EQ(SavedBytes(spControl.Get()), Persisted(5080, 5080, 0, 0, nullptr, nullptr));

    ASSERT_EQ(spControl->put_BorderStyle(7), S_OK);
    ASSERT_EQ(spControl->put_DrawMode(-3), S_OK);
    Put(spControl.Get(), L"video", L"C:\\media\\clip.mp4");
    const std::vector<std::uint8_t> expected = Persisted(5080, 5080, 7, -3, L"video", L"C:\\media\\clip.mp4");
    EXPECT_EQ(SavedBytes(spControl.Get()), expected);

    ComPtr<IPersistStreamInit> spPersist;
    ASSERT_EQ(spControl.As(&spPersist), S_OK);
    ULARGE_INTEGER size = {};
    EXPECT_EQ(spPersist->GetSizeMax(&size), S_OK);
    EXPECT_EQ(size.QuadPart, expected.size());
    EXPECT_EQ(spPersist->IsDirty(), S_FALSE) << "a save that clears the flag";
}

std::vector<std::uint8_t> WithVersion(std::uint32_t version) {
    std::vector<std::uint8_t> bytes = Persisted(1, 1, 0, 0, L"video", L"x");
    bytes[0] = static_cast<std::uint8_t>(version);
    bytes[1] = static_cast<std::uint8_t>(version >> 8);
    return bytes;
}

// Every damage the layout refuses is one failure here: newer data stands for them all.
TEST_F(ControlTest, LoadTakesOlderDataAndRefusesNewerDataWhole) {
    const struct {
        const char* pszBehaviour;
        std::vector<std::uint8_t> bytes;
        HRESULT hr;
        const wchar_t* pszType;  // afterwards
    } kRows[] = {
        {"older version", WithVersion(0x0B00), S_OK, L"video"},
        {"newer version", WithVersion(0x0C01), E_FAIL, L"before"},
        {"zero type length", Persisted(1, 1, 0, 0, nullptr, L"x"), S_OK, L"(null)"},
    };
    for (const auto& row : kRows) {
        ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
        Put(spControl.Get(), L"before", L"before");
        EXPECT_EQ(LoadBytes(spControl.Get(), row.bytes), row.hr) << row.pszBehaviour;
        EXPECT_EQ(Type(spControl.Get()), row.pszType) << row.pszBehaviour;
    }
}

TEST_F(ControlTest, StorageKeepsTheSameBytesInItsContentsStreamAndACopyLoadsThem) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    Put(spControl.Get(), L"video", L"D:\\talk.m3u8");
    ASSERT_EQ(spControl->put_BorderStyle(3), S_OK);
    ASSERT_EQ(spControl->put_DrawMode(4), S_OK);
    ComPtr<IOleObject> spObject;
    ASSERT_EQ(spControl.As(&spObject), S_OK);
    SIZEL extent = {2540, 1270};
    ASSERT_EQ(spObject->SetExtent(DVASPECT_CONTENT, &extent), S_OK);
    ComPtr<IStorage> spStorage;
    ASSERT_EQ(::StgCreateDocfile(nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                                 0, &spStorage),
              S_OK);
    ComPtr<IPersistStorage> spPersist;
    ASSERT_EQ(spControl.As(&spPersist), S_OK);
    ASSERT_EQ(spPersist->Save(spStorage.Get(), TRUE), S_OK);
    ASSERT_EQ(spStorage->Commit(STGC_DEFAULT), S_OK);
    ComPtr<IStream> spContents;
    ASSERT_EQ(spStorage->OpenStream(L"Contents", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &spContents), S_OK);
    EXPECT_EQ(ReadAll(spContents.Get()), SavedBytes(spControl.Get()));
    spContents.Reset();  // opened exclusively

    // The copy takes every property through its put operation, the stock ones notifying.
    ComPtr<IQelMediaPlayerCtrl> spCopy = NewControl();
    RecordingSink sink;
    sink.Advise(spCopy.Get());
    ComPtr<IPersistStorage> spCopyPersist;
    ASSERT_EQ(spCopy.As(&spCopyPersist), S_OK);
    ASSERT_EQ(spCopyPersist->Load(spStorage.Get()), S_OK);
    EXPECT_EQ(SavedBytes(spCopy.Get()), SavedBytes(spControl.Get()));
    EXPECT_EQ(sink.Log(), "edit -504 changed -504 edit -507 changed -507");
}

TEST_F(ControlTest, TellsContainersItsStatusPagesAndSafety) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    ComPtr<IOleObject> spObject;
    ComPtr<ISpecifyPropertyPages> spPages;
    ComPtr<IObjectSafety> spSafety;
    ASSERT_EQ(spControl.As(&spObject), S_OK);
    ASSERT_EQ(spControl.As(&spPages), S_OK);
    ASSERT_EQ(spControl->QueryInterface(IID_IObjectSafety, reinterpret_cast<void**>(spSafety.GetAddressOf())), S_OK);

    DWORD dwStatus = 0;
    EXPECT_EQ(spObject->GetMiscStatus(DVASPECT_CONTENT, &dwStatus), S_OK);
    EXPECT_EQ(dwStatus, 0x20191u);
    CAUUID pages = {};
    ASSERT_EQ(spPages->GetPages(&pages), S_OK);
    ASSERT_EQ(pages.cElems, 1u);
    EXPECT_TRUE(pages.pElems[0] == CLSID_QelMediaPlayerCtrl);
    ::CoTaskMemFree(pages.pElems);
    DWORD dwSupported = 0, dwEnabled = 0;
    EXPECT_EQ(spSafety->GetInterfaceSafetyOptions(IID_IDispatch, &dwSupported, &dwEnabled), S_OK);
    EXPECT_EQ(dwSupported, static_cast<DWORD>(INTERFACESAFE_FOR_UNTRUSTED_CALLER));
    EXPECT_EQ(spSafety->SetInterfaceSafetyOptions(IID_IPersistStreamInit, INTERFACESAFE_FOR_UNTRUSTED_DATA,
                                                  INTERFACESAFE_FOR_UNTRUSTED_DATA),
              E_FAIL);
}

TEST_F(ControlTest, ARefusedRequestEditChangesNothing) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    RecordingSink sink;
    sink.bRefuse = true;
    sink.Advise(spControl.Get());
    EXPECT_EQ(spControl->put_BorderStyle(5), S_FALSE);
    long nBorder = -1;
    spControl->get_BorderStyle(&nBorder);
    EXPECT_EQ(nBorder, 0);
    ComPtr<IPersistStreamInit> spPersist;
    ASSERT_EQ(spControl.As(&spPersist), S_OK);
    EXPECT_EQ(spPersist->IsDirty(), S_FALSE);
    EXPECT_EQ(sink.Log(), "edit -504");
}

// As a script host drives it: names to ids, then calls, through the module's type library.
// A Path never set reads back null, not empty, so that a saved control keeps it null.
TEST_F(ControlTest, ScriptsReachThePropertiesByNameAndAnUnsetPathReadsNull) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    std::string strIds;
    for (const wchar_t* pszName : {L"BorderStyle", L"DrawMode", L"Type", L"Path"}) {
        LPOLESTR pName = const_cast<LPOLESTR>(pszName);
        DISPID id = 0;
        EXPECT_EQ(spControl->GetIDsOfNames(IID_NULL, &pName, 1, LOCALE_USER_DEFAULT, &id), S_OK);
        strIds += std::to_string(id) + " ";
    }
    EXPECT_EQ(strIds, "-504 -507 1 2 ");
    VARIANT value = {};
    DISPPARAMS noArguments = {};
    ASSERT_EQ(spControl->Invoke(2, IID_NULL, 0, DISPATCH_PROPERTYGET, &noArguments, &value, nullptr, nullptr), S_OK);
    EXPECT_TRUE(value.vt == VT_BSTR && value.bstrVal == nullptr);
    VARIANT border = {};
    border.vt = VT_I4;
    border.lVal = 6;
    DISPID idPut = DISPID_PROPERTYPUT;
    DISPPARAMS put = {&border, &idPut, 1, 1};
    ASSERT_EQ(spControl->Invoke(-504, IID_NULL, 0, DISPATCH_PROPERTYPUT, &put, nullptr, nullptr, nullptr), S_OK);
    long nBorder = 0;
    spControl->get_BorderStyle(&nBorder);
    EXPECT_EQ(nBorder, 6);
}

// The control in atl.dll's container, created by its ProgID from a persisted stream, as
// a document holds it; the class object is this program's, on the substitute engine.
class HostedControlTest : public ControlTest {
protected:
    void SetUp() override {
        ControlTest::SetUp();
        ASSERT_EQ(RegisterLibrary(true), S_OK);
        ComPtr<IClassFactory> spFactory;
        ASSERT_EQ(CQelMediaPlayerModule::GetClassObject(CLSID_QelMediaPlayerCtrl, IID_PPV_ARGS(&spFactory)), S_OK);
        ASSERT_EQ(::CoRegisterClassObject(CLSID_QelMediaPlayerCtrl, spFactory.Get(), CLSCTX_INPROC_SERVER,
                                          REGCLS_MULTIPLEUSE, &m_dwClass),
                  S_OK);
        m_hHost = ::CreateWindowExW(0, L"STATIC", L"qel-control-host", WS_POPUP | WS_VISIBLE, 30, 30, 400, 300,
                                    nullptr, nullptr, nullptr, nullptr);
        ASSERT_NE(m_hHost, nullptr);
    }
    void TearDown() override {
        if (::IsWindow(m_hHost)) ::DestroyWindow(m_hHost);
        PumpPending();
        ::CoRevokeClassObject(m_dwClass);
        RegisterLibrary(false);
        ControlTest::TearDown();
    }

    // The control's window inside the host.
    HWND Host(const wchar_t* pszType, const wchar_t* pszPath) {
        ComPtr<IStream> spStream = StreamOf(Persisted(5080, 5080, 0, 0, pszType, pszPath));
        ComPtr<IUnknown> spContainer, spControl;
        EXPECT_EQ(AtlAxCreateControlEx(L"QelMediaPlayerCtrl", m_hHost, spStream.Get(), &spContainer, &spControl,
                                       IID_NULL, nullptr),
                  S_OK);
        PumpPending();
        return ::GetWindow(m_hHost, GW_CHILD);
    }

    HWND m_hHost = nullptr;
    DWORD m_dwClass = 0;
};

TEST_F(HostedControlTest, VideoPlayerFillsTheControlFollowsItsSizeAndStopsWithIt) {
    const HWND hControl = Host(L"video", SampleFile("plain.mp4").c_str());
    ASSERT_NE(hControl, nullptr);
    const HWND hPlayer = ::FindWindowExW(hControl, nullptr, L"QelVideoPlayerPPTWindow", nullptr);
    ASSERT_NE(hPlayer, nullptr);
    EXPECT_TRUE(PumpUntil([&] { return WindowRectText(hPlayer) == "0,0,400,300"; })) << WindowRectText(hPlayer);
    EXPECT_NE(fake::CallNames().find("Open"), std::string::npos);

    ::SetWindowPos(m_hHost, nullptr, 0, 0, 520, 330, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_TRUE(PumpUntil([&] { return WindowRectText(hPlayer) == "0,0,520,330"; })) << WindowRectText(hPlayer);

    EXPECT_EQ(fake::CallNames().find("Close"), std::string::npos);
    ::DestroyWindow(m_hHost);
    PumpPending();
    EXPECT_FALSE(::IsWindow(hControl));
    EXPECT_FALSE(::IsWindow(hPlayer));
    EXPECT_NE(fake::CallNames().find("Close"), std::string::npos) << fake::CallNames();
}

TEST_F(HostedControlTest, CapitalAudioShowsOnlyTheRectangle) {
    const HWND hControl = Host(L"Audio", SampleFile("tone.mp3").c_str());
    ASSERT_NE(hControl, nullptr);
    EXPECT_EQ(::GetWindow(hControl, GW_CHILD), nullptr);
    // Painted into a black bitmap: black corners, white just inside and in the middle.
    RECT rc = {};
    ::GetClientRect(hControl, &rc);
    std::string strPixels;
    for (POINT pt : {POINT{0, 0}, {rc.right - 1, rc.bottom - 1}, {1, 1}, {rc.right / 2, rc.bottom / 2}})
        strPixels += PrintedPixel(hControl, pt.x, pt.y, WM_PAINT) == RGB(0, 0, 0) ? 'k' : 'w';
    EXPECT_EQ(strPixels, "kkww") << "a black frame, white inside";
}

using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();

HRESULT LibraryCanUnloadNow() {
    const HMODULE hLibrary = ::GetModuleHandleW(L"QelMediaPlayer.dll");
    const auto pfnCanUnload =
        hLibrary != nullptr
            ? reinterpret_cast<CanUnloadNow>(reinterpret_cast<void*>(::GetProcAddress(hLibrary, "DllCanUnloadNow")))
            : nullptr;
    return pfnCanUnload != nullptr ? pfnCanUnload() : E_UNEXPECTED;
}

TEST_F(ControlTest, UnloadsOnceNoControlOrLockIsLeft) {
    ASSERT_EQ(RegisterLibrary(true), S_OK);
    ComPtr<IUnknown> spControl;
    ASSERT_EQ(::CoCreateInstance(CLSID_QelMediaPlayerCtrl, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&spControl)),
              S_OK);
    EXPECT_EQ(LibraryCanUnloadNow(), S_FALSE);
    spControl.Reset();
    EXPECT_EQ(LibraryCanUnloadNow(), S_OK);

    ComPtr<IClassFactory> spFactory;
    ASSERT_EQ(::CoGetClassObject(CLSID_QelMediaPlayerCtrl, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&spFactory)),
              S_OK);
    spFactory->LockServer(TRUE);
    EXPECT_EQ(LibraryCanUnloadNow(), S_FALSE);
    spFactory->LockServer(FALSE);
    spFactory.Reset();
    EXPECT_EQ(LibraryCanUnloadNow(), S_OK);

    ::CoFreeUnusedLibraries();
    EXPECT_EQ(::GetModuleHandleW(L"QelMediaPlayer.dll"), nullptr);
    EXPECT_EQ(RegisterLibrary(false), S_OK);
}

}  // namespace
