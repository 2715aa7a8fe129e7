// The WMI query for virtualisation-based security: one object with one number.

// The interfaces as tables of functions, of which only those that the query calls are there.
#define CINTERFACE
#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

#include <string>

#include "sim/machine/currentmachine.h"
#include "sim/machine/wmireplacements.h"
#include "sim/scenario/calllog.h"

namespace {

// Set by the query, taken by the enumerator.
bool s_objectLeft = false;

template <class Object>
ULONG STDMETHODCALLTYPE AddRef(Object*) {
    return 1;
}

// The objects are static.
template <class Object>
ULONG STDMETHODCALLTYPE Release(Object*) {
    return 1;
}

template <class Object>
HRESULT STDMETHODCALLTYPE QueryInterface(Object*, REFIID, void** out) {
    *out = nullptr;
    return E_NOINTERFACE;
}

// A table with the functions that every object has.
template <class Table>
Table UnknownTable() {
    Table table{};
    table.QueryInterface = &QueryInterface;
    table.AddRef = &AddRef;
    table.Release = &Release;
    return table;
}

HRESULT STDMETHODCALLTYPE Get(IWbemClassObject*, LPCWSTR name, LONG, VARIANT* value, CIMTYPE*,
                              LONG*) {
    if (_wcsicmp(name, L"VirtualizationBasedSecurityStatus") != 0) {
        return static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    }
    value->vt = VT_I4;
    value->lVal = CurrentMachine().vbs->status;
    LogCall("VirtualizationBasedSecurityStatus = " + std::to_string(value->lVal));
    return WBEM_S_NO_ERROR;
}

IWbemClassObjectVtbl s_objectTable = [] {
    auto table = UnknownTable<IWbemClassObjectVtbl>();
    table.Get = &Get;
    return table;
}();
IWbemClassObject s_object{&s_objectTable};

HRESULT STDMETHODCALLTYPE Next(IEnumWbemClassObject*, LONG, ULONG, IWbemClassObject** object,
                               ULONG* returned) {
    *returned = s_objectLeft ? 1 : 0;
    *object = s_objectLeft ? &s_object : nullptr;
    const bool given = s_objectLeft;
    s_objectLeft = false;
    return given ? WBEM_S_NO_ERROR : WBEM_S_FALSE;
}

IEnumWbemClassObjectVtbl s_enumeratorTable = [] {
    auto table = UnknownTable<IEnumWbemClassObjectVtbl>();
    table.Next = &Next;
    return table;
}();
IEnumWbemClassObject s_enumerator{&s_enumeratorTable};

HRESULT STDMETHODCALLTYPE ExecQuery(IWbemServices*, const BSTR, const BSTR, LONG, IWbemContext*,
                                    IEnumWbemClassObject** enumerator) {
    s_objectLeft = true;
    *enumerator = &s_enumerator;
    return WBEM_S_NO_ERROR;
}

IWbemServicesVtbl s_servicesTable = [] {
    auto table = UnknownTable<IWbemServicesVtbl>();
    table.ExecQuery = &ExecQuery;
    return table;
}();
IWbemServices s_services{&s_servicesTable};

HRESULT STDMETHODCALLTYPE ConnectServer(IWbemLocator*, const BSTR, const BSTR, const BSTR,
                                        const BSTR, LONG, const BSTR, IWbemContext*,
                                        IWbemServices** services) {
    *services = &s_services;
    return WBEM_S_NO_ERROR;
}

IWbemLocatorVtbl s_locatorTable = [] {
    auto table = UnknownTable<IWbemLocatorVtbl>();
    table.ConnectServer = &ConnectServer;
    return table;
}();
IWbemLocator s_locator{&s_locatorTable};

decltype(CoCreateInstance)* s_coCreateInstance = nullptr;
decltype(CoSetProxyBlanket)* s_coSetProxyBlanket = nullptr;

HRESULT CreateInstance(REFCLSID type, IUnknown* outer, DWORD context, REFIID interfaceId,
                       void** out) {
    const std::optional<VbsAnswer>& vbs = CurrentMachine().vbs;
    if (!vbs || !IsEqualCLSID(type, CLSID_WbemLocator)) {
        return s_coCreateInstance(type, outer, context, interfaceId, out);
    }
    if (!vbs->available) {
        *out = nullptr;
        return REGDB_E_CLASSNOTREG;
    }
    *out = &s_locator;
    return S_OK;
}

HRESULT SetProxyBlanket(IUnknown* proxy, DWORD authentication, DWORD authorization,
                        OLECHAR* principal, DWORD level, DWORD impersonation, void* identity,
                        DWORD capabilities) {
    // The object is no proxy, as one of WMI would be.
    if (static_cast<void*>(proxy) == &s_services) {
        return S_OK;
    }
    return s_coSetProxyBlanket(proxy, authentication, authorization, principal, level,
                               impersonation, identity, capabilities);
}

}  // namespace

std::span<const Replacement> WmiReplacements() {
    static const Replacement kRows[] = {
        Replace("CoCreateInstance", &CreateInstance, s_coCreateInstance),
        Replace("CoSetProxyBlanket", &SetProxyBlanket, s_coSetProxyBlanket),
    };
    return kRows;
}
