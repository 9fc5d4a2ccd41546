// The framework a full ActiveX control stands on: the stock behaviour of every interface a
// container expects of a windowed control (OLE object, in-place activation with a window
// of its own, view and drawing pipeline, stream and storage persistence through the
// property map, connection points, class information, property pages, quick activation,
// data transfer, site, service provider, safety, error information) and the stock
// properties' request-edit and changed notifications. It knows nothing of what the
// control shows: a control derives from it, describes itself in QelControlTraits,
// answers its own dual interface and draws.
//
// Apartment-threaded: every call comes on the thread of the control's apartment.
// Aggregation is supported: an aggregating object receives InnerUnknown().
// The methods of each interface are defined in the file named after it.
#pragma once

#include <ocidl.h>
#include <objsafe.h>
#include <ole2.h>
#include <olectl.h>
#include <servprov.h>
#include <wrl/client.h>

#include <atomic>
#include <vector>

#include "activex/QelComModule.h"
#include "activex/QelConnectionPoint.h"
#include "activex/QelPersistLayout.h"

namespace qel::activex {

// One entry of a property map; the map's order is the persistence order.
struct QelPropertyEntry {
    enum class Kind { ExtentWidth, ExtentHeight, Dispatch };
    const wchar_t* pszName;
    Kind kind;
    DISPID dispid;             // Dispatch only
    VARTYPE vt;                // the type a Dispatch entry is stored and loaded as
    const CLSID* pclsidPage;   // its property page, or null
};

struct QelControlTraits {
    const CLSID* pclsid;
    const IID* piidDispatch;   // the control's dual interface
    const IID* piidEvents;     // its event dispinterface, the default source
    DWORD dwMiscStatus;        // OLEMISC_* for DVASPECT_CONTENT
    DWORD dwViewStatus;        // VIEWSTATUS_*
    DWORD dwSafetyOptions;     // INTERFACESAFE_* it supports
    const wchar_t* pszWindowClass;
    DWORD dwWindowStyle;
    const QelPropertyEntry* pProperties;
    size_t nProperties;
};

// What one draw is about; the bounds are in device units of hdcDraw (logical units for a
// metafile).
struct QelDrawInfo {
    DWORD dwDrawAspect = DVASPECT_CONTENT;
    LONG lindex = -1;
    DVTARGETDEVICE* ptd = nullptr;
    HDC hicTargetDev = nullptr;
    HDC hdcDraw = nullptr;
    const RECTL* prcBounds = nullptr;
    const RECTL* prcWBounds = nullptr;
};

class QelControl : public IOleObject,
                   public IOleInPlaceObjectWindowless,
                   public IOleInPlaceActiveObject,
                   public IOleControl,
                   public IViewObjectEx,
                   public IPersistStreamInit,
                   public IPersistStorage,
                   public IConnectionPointContainer,
                   public IProvideClassInfo2,
                   public ISpecifyPropertyPages,
                   public IQuickActivate,
                   public IDataObject,
                   public IObjectWithSite,
                   public IServiceProvider,
                   public IObjectSafety,
                   public ISupportErrorInfo {
public:
    QelControl(const QelControl&) = delete;
    QelControl& operator=(const QelControl&) = delete;

    // IUnknown of every interface: the controlling unknown's (the aggregating object's, or
    // InnerUnknown()).
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;
    // The object's own unknown: identity, reference count, interface table.
    IUnknown* InnerUnknown() { return &m_inner; }

    // IOleObject (QelControlOleObject.cpp)
    STDMETHODIMP SetClientSite(IOleClientSite* pClientSite) override;
    STDMETHODIMP GetClientSite(IOleClientSite** ppClientSite) override;
    STDMETHODIMP SetHostNames(LPCOLESTR szContainerApp, LPCOLESTR szContainerObj) override;
    STDMETHODIMP Close(DWORD dwSaveOption) override;
    STDMETHODIMP SetMoniker(DWORD dwWhichMoniker, IMoniker* pmk) override;
    STDMETHODIMP GetMoniker(DWORD dwAssign, DWORD dwWhichMoniker, IMoniker** ppmk) override;
    STDMETHODIMP InitFromData(IDataObject* pDataObject, BOOL fCreation, DWORD dwReserved) override;
    STDMETHODIMP GetClipboardData(DWORD dwReserved, IDataObject** ppDataObject) override;
    STDMETHODIMP DoVerb(LONG iVerb, LPMSG lpmsg, IOleClientSite* pActiveSite, LONG lindex, HWND hwndParent,
                        LPCRECT lprcPosRect) override;
    STDMETHODIMP EnumVerbs(IEnumOLEVERB** ppEnumOleVerb) override;
    STDMETHODIMP Update() override;
    STDMETHODIMP IsUpToDate() override;
    STDMETHODIMP GetUserClassID(CLSID* pClsid) override;
    STDMETHODIMP GetUserType(DWORD dwFormOfType, LPOLESTR* pszUserType) override;
    STDMETHODIMP SetExtent(DWORD dwDrawAspect, SIZEL* psizel) override;
    STDMETHODIMP GetExtent(DWORD dwDrawAspect, SIZEL* psizel) override;
    STDMETHODIMP Advise(IAdviseSink* pAdvSink, DWORD* pdwConnection) override;
    STDMETHODIMP Unadvise(DWORD dwConnection) override;
    STDMETHODIMP EnumAdvise(IEnumSTATDATA** ppenumAdvise) override;
    STDMETHODIMP GetMiscStatus(DWORD dwAspect, DWORD* pdwStatus) override;
    STDMETHODIMP SetColorScheme(LOGPALETTE* pLogpal) override;

    // IOleWindow, IOleInPlaceObject(Windowless), IOleInPlaceActiveObject (QelControlInPlace.cpp)
    STDMETHODIMP GetWindow(HWND* phwnd) override;
    STDMETHODIMP ContextSensitiveHelp(BOOL fEnterMode) override;
    STDMETHODIMP InPlaceDeactivate() override;
    STDMETHODIMP UIDeactivate() override;
    STDMETHODIMP SetObjectRects(LPCRECT lprcPosRect, LPCRECT lprcClipRect) override;
    STDMETHODIMP ReactivateAndUndo() override;
    STDMETHODIMP OnWindowMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT* plResult) override;
    STDMETHODIMP GetDropTarget(IDropTarget** ppDropTarget) override;
    STDMETHODIMP TranslateAccelerator(LPMSG lpmsg) override;
    STDMETHODIMP OnFrameWindowActivate(BOOL fActivate) override;
    STDMETHODIMP OnDocWindowActivate(BOOL fActivate) override;
    STDMETHODIMP ResizeBorder(LPCRECT prcBorder, IOleInPlaceUIWindow* pUIWindow, BOOL fFrameWindow) override;
    STDMETHODIMP EnableModeless(BOOL fEnable) override;

    // IOleControl, IQuickActivate (QelControlActivation.cpp)
    STDMETHODIMP GetControlInfo(CONTROLINFO* pCI) override;
    STDMETHODIMP OnMnemonic(MSG* pMsg) override;
    STDMETHODIMP OnAmbientPropertyChange(DISPID dispID) override;
    STDMETHODIMP FreezeEvents(BOOL bFreeze) override;
    STDMETHODIMP QuickActivate(QACONTAINER* pQaContainer, QACONTROL* pQaControl) override;
    STDMETHODIMP SetContentExtent(LPSIZEL pSizel) override;
    STDMETHODIMP GetContentExtent(LPSIZEL pSizel) override;

    // IViewObject, IViewObject2, IViewObjectEx (QelControlView.cpp)
    STDMETHODIMP Draw(DWORD dwDrawAspect, LONG lindex, void* pvAspect, DVTARGETDEVICE* ptd, HDC hdcTargetDev,
                      HDC hdcDraw, LPCRECTL lprcBounds, LPCRECTL lprcWBounds, BOOL(STDMETHODCALLTYPE* pfnContinue)(ULONG_PTR),
                      ULONG_PTR dwContinue) override;
    STDMETHODIMP GetColorSet(DWORD dwDrawAspect, LONG lindex, void* pvAspect, DVTARGETDEVICE* ptd, HDC hicTargetDev,
                             LOGPALETTE** ppColorSet) override;
    STDMETHODIMP Freeze(DWORD dwDrawAspect, LONG lindex, void* pvAspect, DWORD* pdwFreeze) override;
    STDMETHODIMP Unfreeze(DWORD dwFreeze) override;
    STDMETHODIMP SetAdvise(DWORD aspects, DWORD advf, IAdviseSink* pAdvSink) override;
    STDMETHODIMP GetAdvise(DWORD* pAspects, DWORD* pAdvf, IAdviseSink** ppAdvSink) override;
    STDMETHODIMP GetExtent(DWORD dwDrawAspect, LONG lindex, DVTARGETDEVICE* ptd, LPSIZEL lpsizel) override;
    STDMETHODIMP GetRect(DWORD dwAspect, LPRECTL pRect) override;
    STDMETHODIMP GetViewStatus(DWORD* pdwStatus) override;
    STDMETHODIMP QueryHitPoint(DWORD dwAspect, LPCRECT pRectBounds, POINT ptlLoc, LONG lCloseHint,
                               DWORD* pHitResult) override;
    STDMETHODIMP QueryHitRect(DWORD dwAspect, LPCRECT pRectBounds, LPCRECT pRectLoc, LONG lCloseHint,
                              DWORD* pHitResult) override;
    STDMETHODIMP GetNaturalExtent(DWORD dwAspect, LONG lindex, DVTARGETDEVICE* ptd, HDC hicTargetDev,
                                  DVEXTENTINFO* pExtentInfo, LPSIZEL pSizel) override;

    // IPersist, IPersistStreamInit, IPersistStorage (QelControlPersist.cpp)
    STDMETHODIMP GetClassID(CLSID* pClassID) override;
    STDMETHODIMP IsDirty() override;
    STDMETHODIMP Load(LPSTREAM pStm) override;
    STDMETHODIMP Save(LPSTREAM pStm, BOOL fClearDirty) override;
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER* pCbSize) override;
    STDMETHODIMP InitNew() override;
    STDMETHODIMP InitNew(IStorage* pStg) override;
    STDMETHODIMP Load(IStorage* pStg) override;
    STDMETHODIMP Save(IStorage* pStgSave, BOOL fSameAsLoad) override;
    STDMETHODIMP SaveCompleted(IStorage* pStgNew) override;
    STDMETHODIMP HandsOffStorage() override;

    // IDataObject (QelControlData.cpp)
    STDMETHODIMP GetData(FORMATETC* pformatetcIn, STGMEDIUM* pmedium) override;
    STDMETHODIMP GetDataHere(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    STDMETHODIMP QueryGetData(FORMATETC* pformatetc) override;
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* pformatectIn, FORMATETC* pformatetcOut) override;
    STDMETHODIMP SetData(FORMATETC* pformatetc, STGMEDIUM* pmedium, BOOL fRelease) override;
    STDMETHODIMP EnumFormatEtc(DWORD dwDirection, IEnumFORMATETC** ppenumFormatEtc) override;
    STDMETHODIMP DAdvise(FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink, DWORD* pdwConnection) override;
    STDMETHODIMP DUnadvise(DWORD dwConnection) override;
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA** ppenumAdvise) override;

    // IConnectionPointContainer, IProvideClassInfo2, ISpecifyPropertyPages, IObjectWithSite,
    // IServiceProvider, IObjectSafety, ISupportErrorInfo (QelControlInfo.cpp)
    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints** ppEnum) override;
    STDMETHODIMP FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) override;
    STDMETHODIMP GetClassInfo(ITypeInfo** ppTI) override;
    STDMETHODIMP GetGUID(DWORD dwGuidKind, GUID* pGUID) override;
    STDMETHODIMP GetPages(CAUUID* pPages) override;
    STDMETHODIMP SetSite(IUnknown* pUnkSite) override;
    STDMETHODIMP GetSite(REFIID riid, void** ppvSite) override;
    STDMETHODIMP QueryService(REFGUID guidService, REFIID riid, void** ppvObject) override;
    STDMETHODIMP GetInterfaceSafetyOptions(REFIID riid, DWORD* pdwSupportedOptions,
                                           DWORD* pdwEnabledOptions) override;
    STDMETHODIMP SetInterfaceSafetyOptions(REFIID riid, DWORD dwOptionSetMask, DWORD dwEnabledOptions) override;
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID riid) override;

protected:
    // pOuter: the aggregating object, or null.
    QelControl(const QelControlTraits& traits, IUnknown* pOuter);
    virtual ~QelControl();

    // The control's own interfaces (its dual interface and IDispatch), or null.
    virtual void* QueryControlInterface(REFIID riid) = 0;
    // Draws the control; called for painting its window, for IViewObject::Draw and for
    // data transfer.
    virtual HRESULT OnDraw(const QelDrawInfo& di) = 0;
    // The control window's messages come here first; true when handled, with its result.
    virtual bool OnControlMessage(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lResult) = 0;

    // The stock property behaviour: a get, and a put with request-edit, requires-save,
    // changed notification, redraw and data-change notice.
    HRESULT GetStockProperty(long nValue, long* pValue);
    HRESULT PutStockProperty(DISPID dispid, long& nField, long nValue);
    // Asks the property-notify sinks; S_FALSE when one refuses.
    HRESULT FireOnRequestEdit(DISPID dispid);
    void FireOnChanged(DISPID dispid);
    // Redraws the window when active, else tells the view's advise sink.
    void FireViewChange();
    void SendOnDataChange(DWORD advf = 0);
    void SetDirty(bool bDirty) { m_bRequiresSave = bDirty; }
    // Sets the thread's error information (description, source, interface) and returns hr.
    HRESULT ReportError(HRESULT hr, const wchar_t* pszDescription);

    HWND ControlWindow() const { return m_hWnd; }
    const QelControlTraits& Traits() const { return m_traits; }

    SIZEL m_sizeExtent;   // HIMETRIC
    SIZEL m_sizeNatural;  // HIMETRIC

private:
    class NonDelegatingUnknown final : public IUnknown {
    public:
        explicit NonDelegatingUnknown(QelControl& owner) : m_owner(owner) {}
        STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return m_owner.InternalQueryInterface(riid, ppv); }
        STDMETHODIMP_(ULONG) AddRef() override { return ++m_owner.m_nRefs; }
        STDMETHODIMP_(ULONG) Release() override { return m_owner.InternalRelease(); }

    private:
        QelControl& m_owner;
    };

    HRESULT InternalQueryInterface(REFIID riid, void** ppv);
    ULONG InternalRelease();

    // QelControlInPlace.cpp
    HRESULT InPlaceActivate(LONG iVerb, LPCRECT prcPosRect);
    bool SetControlFocus(bool bGrab);
    HRESULT DoVerbProperties(HWND hwndParent);
    // The ambient user mode; failed when the site does not tell.
    HRESULT GetAmbientUserMode(bool& bUserMode);

    // QelControlWindow.cpp
    HWND CreateControlWindow(HWND hwndParent, const RECT& rcPos);
    // Gives up this control's use of the window class once its window is gone.
    void ReleaseWindowClass();
    static LRESULT CALLBACK ControlWindowProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    bool OnStockMessage(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT& lResult);

    // QelControlView.cpp: the drawing pipeline: target device, mapping mode, OnDraw.
    HRESULT DrawAdvanced(QelDrawInfo di);

    // QelControlPersist.cpp: the property map's values, read through IDispatch, and
    // loaded ones set through it (so that loading runs the put operations).
    HRESULT CollectPersisted(std::vector<QelPersistedEntry>& entries);
    HRESULT ApplyPersisted(const std::vector<QelPersistedEntry>& entries);

    QelModuleLock m_lock;
    const QelControlTraits& m_traits;
    NonDelegatingUnknown m_inner{*this};
    IUnknown* m_pOuter;   // the controlling unknown; not a counted reference
    std::atomic<ULONG> m_nRefs{0};

    Microsoft::WRL::ComPtr<IOleClientSite> m_spClientSite;
    Microsoft::WRL::ComPtr<IDispatch> m_spAmbientDispatch;
    Microsoft::WRL::ComPtr<IOleInPlaceSite> m_spInPlaceSite;
    Microsoft::WRL::ComPtr<IOleInPlaceSiteEx> m_spInPlaceSiteEx;
    Microsoft::WRL::ComPtr<IOleAdviseHolder> m_spOleAdviseHolder;
    Microsoft::WRL::ComPtr<IDataAdviseHolder> m_spDataAdviseHolder;
    Microsoft::WRL::ComPtr<IAdviseSink> m_spViewAdviseSink;
    DWORD m_dwViewAdviseAspects = 0;
    DWORD m_dwViewAdviseFlags = 0;
    Microsoft::WRL::ComPtr<IUnknown> m_spUnkSite;
    QelConnectionPoint m_cpEvents;
    QelConnectionPoint m_cpPropertyNotify;

    HWND m_hWnd = nullptr;
    bool m_bUsesWindowClass = false;
    RECT m_rcPos = {0, 0, 0, 0};
    bool m_bInPlaceActive = false;
    bool m_bUIActive = false;
    bool m_bRequiresSave = false;
    int m_nFreezeEvents = 0;
    DWORD m_dwCurrentSafety = 0;
};

}  // namespace qel::activex
