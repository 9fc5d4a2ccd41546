// The ActiveX control under Wine: its persisted bytes against the layout written out here,
// what it tells a container, the stock properties' notifications, and the control hosted
// by atl.dll's container (one we did not write), created by its ProgID, with the player
// window inside it on the substitute engine. The class is served by this program; its
// registration (for the ProgID) is the library's own.
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
#include "QelControlTestSupport.h"
#include "control/CQelMediaPlayerCtrl.h"
#include "control/QelControlFolders.h"
#include "control/QelMediaPlayerModule.h"
#include "support/TestSampleContent.h"
#include "support/TestWin32.h"

using Microsoft::WRL::ComPtr;
using namespace qel::test;

extern "C" HRESULT WINAPI AtlAxCreateControlEx(LPCOLESTR, HWND, IStream*, IUnknown**, IUnknown**, REFIID, IUnknown*);

namespace {

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

TEST_F(ControlTest, LoadSetsEveryPropertyThroughItsPutOperation) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    RecordingSink sink;
    const DWORD dwCookie = sink.AdviseTo(spControl.Get());
    ASSERT_EQ(LoadBytes(spControl.Get(), Persisted(2540, 1270, 3, 4, L"audio", L"tone.mp3")), S_OK);
    long nBorder = 0, nDraw = 0;
    spControl->get_BorderStyle(&nBorder);
    spControl->get_DrawMode(&nDraw);
    EXPECT_EQ(nBorder, 3);
    EXPECT_EQ(nDraw, 4);
    EXPECT_EQ(Type(spControl.Get()), L"audio");
    EXPECT_EQ(sink.Log(), "edit -504 changed -504 edit -507 changed -507");
    SIZEL extent = {};
    ComPtr<IOleObject> spObject;
    ASSERT_EQ(spControl.As(&spObject), S_OK);
    spObject->GetExtent(DVASPECT_CONTENT, &extent);
    EXPECT_EQ(extent.cx, 2540);
    EXPECT_EQ(extent.cy, 1270);
    sink.UnadviseFrom(spControl.Get(), dwCookie);
}

struct StreamRow {
    const char* pszBehaviour;
    std::vector<std::uint8_t> bytes;
    HRESULT hr;
    const wchar_t* pszType;  // afterwards
};

void PrintTo(const StreamRow& row, std::ostream* pOut) { *pOut << '"' << row.pszBehaviour << '"'; }

class LoadRows : public ControlTest, public testing::WithParamInterface<StreamRow> {};

TEST_P(LoadRows, EndAsExpected) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    Put(spControl.Get(), L"before", L"before");
    EXPECT_EQ(LoadBytes(spControl.Get(), GetParam().bytes), GetParam().hr);
    EXPECT_EQ(Type(spControl.Get()), GetParam().pszType);
}

std::vector<std::uint8_t> WithVersion(std::uint32_t version) {
    std::vector<std::uint8_t> bytes = Persisted(1, 1, 0, 0, L"video", L"x");
    bytes[0] = static_cast<std::uint8_t>(version);
    bytes[1] = static_cast<std::uint8_t>(version >> 8);
    return bytes;
}

std::vector<std::uint8_t> Shortened() {
    std::vector<std::uint8_t> bytes = Persisted(1, 1, 0, 0, L"video", L"x");
    bytes.pop_back();
    return bytes;
}

std::vector<std::uint8_t> AbsurdTypeLength() {
    std::vector<std::uint8_t> bytes = Persisted(1, 1, 0, 0, L"video", L"x");
    for (int i = 26; i < 30; ++i) bytes[i] = 0xff;
    bytes[26] = 0xf0;
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Streams, LoadRows,
    testing::Values(StreamRow{"older_version", WithVersion(0x0B00), S_OK, L"video"},
                    StreamRow{"newer_version", WithVersion(0x0C01), E_FAIL, L"before"},
                    StreamRow{"short_stream", Shortened(), E_FAIL, L"before"},
                    StreamRow{"absurd_type_length", AbsurdTypeLength(), E_FAIL, L"before"},
                    StreamRow{"zero_type_length", Persisted(1, 1, 0, 0, nullptr, L"x"), S_OK, L"(null)"}),
    [](const testing::TestParamInfo<StreamRow>& info) { return std::string(info.param.pszBehaviour); });

TEST_F(ControlTest, StorageKeepsTheSameBytesInItsContentsStream) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    Put(spControl.Get(), L"video", L"D:\\talk.m3u8");
    ComPtr<IStorage> spStorage;
    ASSERT_EQ(::StgCreateDocfile(nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                                 0, &spStorage),
              S_OK);
    ComPtr<IPersistStorage> spPersist;
    ASSERT_EQ(spControl.As(&spPersist), S_OK);
    ASSERT_EQ(spPersist->Save(spStorage.Get(), TRUE), S_OK);
    ASSERT_EQ(spStorage->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(StreamBytes(spStorage.Get(), L"Contents"), SavedBytes(spControl.Get()));

    ComPtr<IQelMediaPlayerCtrl> spCopy = NewControl();
    ComPtr<IPersistStorage> spCopyPersist;
    ASSERT_EQ(spCopy.As(&spCopyPersist), S_OK);
    ASSERT_EQ(spCopyPersist->Load(spStorage.Get()), S_OK);
    EXPECT_EQ(SavedBytes(spCopy.Get()), SavedBytes(spControl.Get()));
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

TEST_F(ControlTest, RefusedRequestEditChangesNothingAndTypePathNotifyNoOne) {
    ComPtr<IQelMediaPlayerCtrl> spControl = NewControl();
    RecordingSink sink;
    sink.bRefuse = true;
    const DWORD dwCookie = sink.AdviseTo(spControl.Get());
    EXPECT_EQ(spControl->put_BorderStyle(5), S_FALSE);
    long nBorder = -1;
    spControl->get_BorderStyle(&nBorder);
    EXPECT_EQ(nBorder, 0);
    ComPtr<IPersistStreamInit> spPersist;
    ASSERT_EQ(spControl.As(&spPersist), S_OK);
    EXPECT_EQ(spPersist->IsDirty(), S_FALSE);
    Put(spControl.Get(), L"video", L"x");
    EXPECT_EQ(sink.Log(), "edit -504");
    sink.UnadviseFrom(spControl.Get(), dwCookie);
}

TEST(ControlFolders, SkinsAreReadBesideTheModulesFolder) {
    const std::wstring strFolder = MakeModuleFolder(L"C:/Prog/bin\\QelMediaPlayer.dll");
    EXPECT_EQ(strFolder, L"C:\\Prog\\bin\\");
    EXPECT_EQ(MakeParentFolder(strFolder), L"C:\\Prog\\");
    EXPECT_EQ(MakeModuleFolder(L"QelMediaPlayer.dll"), L"");
    EXPECT_EQ(MakeParentFolder(L"a/b/"), L"a/");
    EXPECT_EQ(MakeParentFolder(L"top"), L"top");
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
    EXPECT_TRUE(PumpUntil([&] { return ChildRect(hPlayer) == "0,0 400x300"; })) << ChildRect(hPlayer);
    EXPECT_NE(fake::CallNames().find("Open"), std::string::npos);

    ::SetWindowPos(m_hHost, nullptr, 0, 0, 520, 330, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_TRUE(PumpUntil([&] { return ChildRect(hPlayer) == "0,0 520x330"; })) << ChildRect(hPlayer);

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
    EXPECT_EQ(PaintedFrame(hControl), "frame black, inside white");
}

}  // namespace
