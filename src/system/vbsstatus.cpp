#include "src/system/vbsstatus.h"

#include <windows.h>

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

#include <memory>

namespace {

struct ComReleaser {
    void operator()(IUnknown* object) const { object->Release(); }
};

template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ComReleaser>;

struct BstrFreer {
    void operator()(OLECHAR* text) const { SysFreeString(text); }
};

using Bstr = std::unique_ptr<OLECHAR, BstrFreer>;

Bstr MakeBstr(const wchar_t* text) { return Bstr(SysAllocString(text)); }

bool InitializeSecurity() {
    return SUCCEEDED(CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                          RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE,
                                          nullptr));
}

ComPointer<IWbemLocator> CreateLocator() {
    void* locator = nullptr;
    const HRESULT result = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER,
                                            IID_IWbemLocator, &locator);
    return ComPointer<IWbemLocator>(SUCCEEDED(result) ? static_cast<IWbemLocator*>(locator)
                                                      : nullptr);
}

ComPointer<IWbemServices> Connect(IWbemLocator& locator) {
    IWbemServices* services = nullptr;
    const HRESULT result =
        locator.ConnectServer(MakeBstr(L"ROOT\\Microsoft\\Windows\\DeviceGuard").get(), nullptr,
                              nullptr, nullptr, 0, nullptr, nullptr, &services);
    return ComPointer<IWbemServices>(SUCCEEDED(result) ? services : nullptr);
}

bool SetBlanket(IWbemServices& services) {
    return SUCCEEDED(CoSetProxyBlanket(&services, RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                       RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr,
                                       EOAC_NONE));
}

ComPointer<IEnumWbemClassObject> Query(IWbemServices& services) {
    IEnumWbemClassObject* enumerator = nullptr;
    const HRESULT result = services.ExecQuery(
        MakeBstr(L"WQL").get(), MakeBstr(L"SELECT * FROM Win32_DeviceGuard").get(),
        WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY, nullptr, &enumerator);
    return ComPointer<IEnumWbemClassObject>(SUCCEEDED(result) ? enumerator : nullptr);
}

// Null when there are no more.
ComPointer<IWbemClassObject> Next(IEnumWbemClassObject& enumerator) {
    IWbemClassObject* object = nullptr;
    ULONG returned = 0;
    enumerator.Next(static_cast<LONG>(WBEM_INFINITE), 1, &object, &returned);
    return ComPointer<IWbemClassObject>(returned != 0 ? object : nullptr);
}

// WMI hands a uint32 over as VT_I4. The type is not checked: an instance without the property gives
// an empty VARIANT, whose bits are 0.
uint32_t ReadStatus(IWbemClassObject& object) {
    VARIANT value{};
    VariantInit(&value);
    object.Get(L"VirtualizationBasedSecurityStatus", 0, &value, nullptr, nullptr);
    const auto status = static_cast<uint32_t>(value.lVal);
    VariantClear(&value);
    return status;
}

int QueryInApartment(uint32_t* status) {
    // Fails where the process has set up COM security before; the query then counts as failed.
    if (!InitializeSecurity()) {
        return 1;
    }
    // Declared first to be released last: services, locator, enumerator.
    ComPointer<IEnumWbemClassObject> enumerator;
    const ComPointer<IWbemLocator> locator = CreateLocator();
    if (!locator) {
        return 1;
    }
    const ComPointer<IWbemServices> services = Connect(*locator);
    if (!services || !SetBlanket(*services)) {
        return 1;
    }
    enumerator = Query(*services);
    if (!enumerator) {
        return 1;
    }
    while (const ComPointer<IWbemClassObject> object = Next(*enumerator)) {
        *status = ReadStatus(*object);
    }
    return 0;
}

}  // namespace

int QueryVbsStatus(uint32_t* status) {
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
        return 1;
    }
    const int result = QueryInApartment(status);
    CoUninitialize();
    return result;
}
