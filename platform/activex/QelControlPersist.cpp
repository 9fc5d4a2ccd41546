// IPersistStreamInit and IPersistStorage over the property map, in the layout of
// QelPersistLayout: the extent words raw, the properties as values read and set through
// the control's IDispatch. A load applies nothing unless the whole layout was read and
// every value converted.
#include "activex/QelControl.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "activex/QelComGuard.h"
#include "activex/QelVariant.h"

namespace qel::activex {

using Microsoft::WRL::ComPtr;

namespace {

constexpr wchar_t kContentsStream[] = L"Contents";

class QelStreamSource final : public QelByteSource {
public:
    explicit QelStreamSource(IStream* pStream) : m_pStream(pStream) {}

    bool Read(void* pBuffer, size_t nSize, size_t& nRead) override {
        nRead = 0;
        while (nRead < nSize) {
            const ULONG nAsk = static_cast<ULONG>(std::min<size_t>(nSize - nRead, std::numeric_limits<ULONG>::max()));
            ULONG nGot = 0;
            m_hr = m_pStream->Read(static_cast<BYTE*>(pBuffer) + nRead, nAsk, &nGot);
            if (FAILED(m_hr)) return false;
            nRead += nGot;
            if (nGot < nAsk) break;
        }
        return true;
    }
    HRESULT Error() const { return m_hr; }

private:
    IStream* m_pStream;
    HRESULT m_hr = S_OK;
};

std::vector<QelEntryForm> FormsOf(const QelControlTraits& traits) {
    std::vector<QelEntryForm> forms;
    for (size_t i = 0; i < traits.nProperties; ++i) {
        forms.push_back(traits.pProperties[i].kind == QelPropertyEntry::Kind::Dispatch ? QelEntryForm::Value
                                                                                         : QelEntryForm::Word);
    }
    return forms;
}

void* VariantData(VARIANT* pVar) { return &V_UI1(pVar); }

HRESULT ToStored(const VARIANT& var, QelStoredValue& value) {
    value = QelStoredValue{};
    value.vt = var.vt;
    const int nSize = QelFixedSizeOf(var.vt);
    if (nSize < 0) return DISP_E_BADVARTYPE;
    if (var.vt == VT_BSTR) {
        if (var.bstrVal != nullptr) {
            value.text.emplace(reinterpret_cast<const char16_t*>(var.bstrVal), ::SysStringLen(var.bstrVal));
        }
    } else {
        std::memcpy(&value.bits, VariantData(const_cast<VARIANT*>(&var)), static_cast<size_t>(nSize));
    }
    return S_OK;
}

HRESULT FromStored(const QelStoredValue& value, VARIANT& var) {
    ::VariantClear(&var);
    if (value.vt == VT_BSTR) {
        var.bstrVal = nullptr;
        if (value.text) {
            var.bstrVal = ::SysAllocStringLen(reinterpret_cast<const OLECHAR*>(value.text->data()),
                                              static_cast<UINT>(value.text->size()));
            if (var.bstrVal == nullptr) return E_OUTOFMEMORY;
        }
    } else {
        std::memcpy(VariantData(&var), &value.bits, static_cast<size_t>(QelFixedSizeOf(value.vt)));
    }
    var.vt = value.vt;
    return S_OK;
}

// A value as the entry's type; one that has it already stays as it is (a conversion would
// make a null string empty).
HRESULT ConvertTo(VARIANT* pValue, VARTYPE vt) {
    return pValue->vt == vt ? S_OK : ::VariantChangeType(pValue, pValue, 0, vt);
}

HRESULT GetProperty(IDispatch* pDispatch, DISPID dispid, VARIANT& result) {
    DISPPARAMS noArguments = {};
    return pDispatch->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &noArguments, &result,
                             nullptr, nullptr);
}

HRESULT PutProperty(IDispatch* pDispatch, DISPID dispid, VARIANT& value) {
    DISPID dispidNamed = DISPID_PROPERTYPUT;
    DISPPARAMS arguments = {&value, &dispidNamed, 1, 1};
    return pDispatch->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT, &arguments, nullptr,
                             nullptr, nullptr);
}

}  // namespace

HRESULT QelControl::CollectPersisted(std::vector<QelPersistedEntry>& entries) {
    ComPtr<IDispatch> spDispatch;
    HRESULT hr = InnerUnknown()->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(spDispatch.GetAddressOf()));
    if (FAILED(hr)) return hr;
    entries.clear();
    for (size_t i = 0; i < m_traits.nProperties; ++i) {
        const QelPropertyEntry& property = m_traits.pProperties[i];
        QelPersistedEntry entry;
        if (property.kind == QelPropertyEntry::Kind::ExtentWidth) {
            entry.word = static_cast<std::uint32_t>(m_sizeExtent.cx);
        } else if (property.kind == QelPropertyEntry::Kind::ExtentHeight) {
            entry.word = static_cast<std::uint32_t>(m_sizeExtent.cy);
        } else {
            entry.form = QelEntryForm::Value;
            QelVariant value;
            hr = GetProperty(spDispatch.Get(), property.dispid, *value.Get());
            if (SUCCEEDED(hr)) hr = ConvertTo(value.Get(), property.vt);
            if (SUCCEEDED(hr)) hr = ToStored(*value.Get(), entry.value);
            if (FAILED(hr)) return hr;
        }
        entries.push_back(std::move(entry));
    }
    return S_OK;
}

HRESULT QelControl::ApplyPersisted(const std::vector<QelPersistedEntry>& entries) {
    ComPtr<IDispatch> spDispatch;
    HRESULT hr = InnerUnknown()->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(spDispatch.GetAddressOf()));
    if (FAILED(hr)) return hr;
    std::vector<QelVariant> values(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        if (entries[i].form != QelEntryForm::Value) continue;
        hr = FromStored(entries[i].value, *values[i].Get());
        if (SUCCEEDED(hr)) hr = ConvertTo(values[i].Get(), m_traits.pProperties[i].vt);
        if (FAILED(hr)) return hr;
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        const QelPropertyEntry& property = m_traits.pProperties[i];
        if (property.kind == QelPropertyEntry::Kind::ExtentWidth) {
            m_sizeExtent.cx = static_cast<LONG>(entries[i].word);
        } else if (property.kind == QelPropertyEntry::Kind::ExtentHeight) {
            m_sizeExtent.cy = static_cast<LONG>(entries[i].word);
        } else {
            hr = PutProperty(spDispatch.Get(), property.dispid, *values[i].Get());
            if (FAILED(hr)) return hr;
        }
    }
    return S_OK;
}

STDMETHODIMP QelControl::GetClassID(CLSID* pClassID) {
    if (pClassID == nullptr) return E_POINTER;
    *pClassID = *m_traits.pclsid;
    return S_OK;
}

STDMETHODIMP QelControl::IsDirty() { return m_bRequiresSave ? S_OK : S_FALSE; }

STDMETHODIMP QelControl::Load(LPSTREAM pStm) {
    if (pStm == nullptr) return E_POINTER;
    return QelNoThrow([&] {
        QelStreamSource source(pStm);
        std::vector<QelPersistedEntry> entries;
        switch (QelDecodePersisted(source, FormsOf(m_traits), entries)) {
        case QelLoadStatus::Ok: return ApplyPersisted(entries);
        case QelLoadStatus::SourceFailed: return source.Error();
        case QelLoadStatus::UnknownType: return DISP_E_BADVARTYPE;
        default: return E_FAIL;
        }
    });
}

STDMETHODIMP QelControl::Save(LPSTREAM pStm, BOOL fClearDirty) {
    if (pStm == nullptr) return E_POINTER;
    return QelNoThrow([&] {
        std::vector<QelPersistedEntry> entries;
        HRESULT hr = CollectPersisted(entries);
        if (FAILED(hr)) return hr;
        std::vector<std::uint8_t> bytes;
        if (!QelEncodePersisted(entries, bytes)) return DISP_E_BADVARTYPE;
        ULONG nWritten = 0;
        hr = pStm->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &nWritten);
        if (FAILED(hr)) return hr;
        if (nWritten != bytes.size()) return STG_E_MEDIUMFULL;
        if (fClearDirty) m_bRequiresSave = false;
        return S_OK;
    });
}

STDMETHODIMP QelControl::GetSizeMax(ULARGE_INTEGER* pCbSize) {
    if (pCbSize == nullptr) return E_POINTER;
    return QelNoThrow([&] {
        std::vector<QelPersistedEntry> entries;
        const HRESULT hr = CollectPersisted(entries);
        if (FAILED(hr)) return hr;
        std::vector<std::uint8_t> bytes;
        if (!QelEncodePersisted(entries, bytes)) return DISP_E_BADVARTYPE;
        pCbSize->QuadPart = bytes.size();
        return S_OK;
    });
}

STDMETHODIMP QelControl::InitNew() {
    m_bRequiresSave = true;
    return S_OK;
}

STDMETHODIMP QelControl::InitNew(IStorage*) { return InitNew(); }

STDMETHODIMP QelControl::Load(IStorage* pStg) {
    if (pStg == nullptr) return E_POINTER;
    ComPtr<IStream> spStream;
    const HRESULT hr = pStg->OpenStream(kContentsStream, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &spStream);
    if (FAILED(hr)) return hr;
    return Load(spStream.Get());
}

STDMETHODIMP QelControl::Save(IStorage* pStgSave, BOOL fSameAsLoad) {
    if (pStgSave == nullptr) return E_POINTER;
    ComPtr<IStream> spStream;
    const HRESULT hr = pStgSave->CreateStream(kContentsStream, STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0,
                                              0, &spStream);
    if (FAILED(hr)) return hr;
    return Save(spStream.Get(), fSameAsLoad);
}

STDMETHODIMP QelControl::SaveCompleted(IStorage*) { return S_OK; }

STDMETHODIMP QelControl::HandsOffStorage() { return S_OK; }

}  // namespace qel::activex
