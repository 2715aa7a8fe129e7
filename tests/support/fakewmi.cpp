#include "tests/support/fakewmi.h"

#include <wbemidl.h>

#include "tests/support/fakeservices.h"
#include "tests/support/importpatch.h"
#include "tests/support/slottable.h"

namespace {

CFakeWmi* s_wmi = nullptr;

CSlotTable<4> s_locatorSlots;
CSlotTable<26> s_servicesSlots;
CSlotTable<8> s_enumeratorSlots;
CSlotTable<27> s_objectSlots;
SlotObject s_locator{s_locatorSlots.Slots()};
SlotObject s_services{s_servicesSlots.Slots()};
SlotObject s_enumerator{s_enumeratorSlots.Slots()};
SlotObject s_object{s_objectSlots.Slots()};

std::string NameOf(const void* object) {
    const std::pair<const void*, const char*> names[] = {{nullptr, "null"},
                                                         {&s_locator, "locator"},
                                                         {&s_services, "services"},
                                                         {&s_enumerator, "enumerator"},
                                                         {&s_object, "object"}};
    for (const auto& [known, name] : names) {
        if (known == object) {
            return name;
        }
    }
    return "unknown";
}

// A BSTR carries its length in front of its characters.
std::string Bstr(const OLECHAR* text) {
    const bool isBstr = text && SysStringLen(const_cast<OLECHAR*>(text)) == wcslen(text);
    return isBstr ? Quoted(text) : "no BSTR";
}

template <typename... Arguments>
std::string WmiCall(const char* function, const Arguments&... arguments) {
    std::string call = std::string(function) + "(";
    const char* separator = "";
    ((call += separator + arguments, separator = ", "), ...);
    return call + ")";
}

std::string Text(LONG number) { return std::to_string(number); }

}  // namespace

// The objects' functions.
struct CFakeWmi::Objects {
    static ULONG Release(SlotObject* self) {
        s_wmi->Record(WmiCall("Release", NameOf(self)));
        return 0;
    }

    static HRESULT ConnectServer(SlotObject*, BSTR path, BSTR user, BSTR password, BSTR locale,
                                 LONG flags, BSTR authority, void* context, SlotObject** services) {
        s_wmi->Record(WmiCall("ConnectServer", Bstr(path), NameOf(user), NameOf(password),
                              NameOf(locale), Text(flags), NameOf(authority), NameOf(context)));
        const HRESULT result = s_wmi->ResultOf("ConnectServer");
        *services = SUCCEEDED(result) ? &s_services : nullptr;
        return result;
    }

    static HRESULT ExecQuery(SlotObject*, BSTR language, BSTR query, LONG flags, void* context,
                             SlotObject** enumerator) {
        s_wmi->Record(
            WmiCall("ExecQuery", Bstr(language), Bstr(query), Text(flags), NameOf(context)));
        const HRESULT result = s_wmi->ResultOf("ExecQuery");
        *enumerator = SUCCEEDED(result) ? &s_enumerator : nullptr;
        return result;
    }

    static HRESULT Next(SlotObject*, LONG timeout, ULONG count, SlotObject** object,
                        ULONG* returned) {
        s_wmi->Record(WmiCall("Next", Text(timeout), std::to_string(count)));
        const NextAnswer answer = s_wmi->m_nextCount < s_wmi->nextAnswers.size()
                                      ? s_wmi->nextAnswers[s_wmi->m_nextCount++]
                                      : NextAnswer{WBEM_S_FALSE, 0, false};
        *object = answer.hasObject ? &s_object : nullptr;
        *returned = answer.returned;
        return answer.result;
    }

    static HRESULT Get(SlotObject*, LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type,
                       LONG* flavor) {
        s_wmi->Record(WmiCall("Get", Quoted(name), Text(flags), NameOf(type), NameOf(flavor)));
        const HRESULT result = s_wmi->ResultOf("Get");
        if (SUCCEEDED(result)) {
            *value = s_wmi->values.at(s_wmi->m_getCount++);
        }
        return result;
    }
};

struct CFakeWmi::Patches {
    explicit Patches(CFakeWmi& owner) : fake(owner) {}

    CFakeWmi& fake;

    PATCH_IMPORT(initialize, CoInitializeEx, [this](LPVOID reserved, DWORD model) {
        fake.Record(WmiCall("CoInitializeEx", NameOf(reserved), std::to_string(model)));
        return fake.ResultOf("CoInitializeEx");
    });
    PATCH_IMPORT(security, CoInitializeSecurity,
                 [this](PSECURITY_DESCRIPTOR descriptor, LONG count,
                        SOLE_AUTHENTICATION_SERVICE* services, void* reserved1, DWORD level,
                        DWORD impersonation, void* list, DWORD capabilities, void* reserved3) {
                     fake.Record(WmiCall("CoInitializeSecurity", NameOf(descriptor), Text(count),
                                         NameOf(services), NameOf(reserved1), std::to_string(level),
                                         std::to_string(impersonation), NameOf(list),
                                         std::to_string(capabilities), NameOf(reserved3)));
                     return fake.ResultOf("CoInitializeSecurity");
                 });
    PATCH_IMPORT(
        create, CoCreateInstance,
        [this](REFCLSID classId, LPUNKNOWN outer, DWORD context, REFIID interfaceId, LPVOID* made) {
            fake.Record(
                WmiCall("CoCreateInstance",
                        std::string(classId == CLSID_WbemLocator ? "WbemLocator" : "unknown"),
                        NameOf(outer), std::to_string(context),
                        std::string(interfaceId == IID_IWbemLocator ? "IWbemLocator" : "unknown")));
            const HRESULT result = fake.ResultOf("CoCreateInstance");
            *made = SUCCEEDED(result) ? &s_locator : nullptr;
            return result;
        });
    PATCH_IMPORT(blanket, CoSetProxyBlanket,
                 [this](IUnknown* proxy, DWORD authentication, DWORD authorization,
                        OLECHAR* principal, DWORD level, DWORD impersonation,
                        RPC_AUTH_IDENTITY_HANDLE identity, DWORD capabilities) {
                     fake.Record(WmiCall("CoSetProxyBlanket", NameOf(proxy),
                                         std::to_string(authentication),
                                         std::to_string(authorization), NameOf(principal),
                                         std::to_string(level), std::to_string(impersonation),
                                         NameOf(identity), std::to_string(capabilities)));
                     return fake.ResultOf("CoSetProxyBlanket");
                 });
    PATCH_IMPORT(uninitialize, CoUninitialize, [this] { fake.Record("CoUninitialize()"); });
    PATCH_IMPORT(clear, VariantClear, [this](VARIANTARG* value) {
        fake.Record("VariantClear()");
        const HRESULT result = clear.Original(value);
        value->lVal = -1;  // to be seen by whoever still reads it
        return result;
    });
    PATCH_IMPORT(allocate, SysAllocString, [this](const OLECHAR* text) {
        ++fake.openTexts;
        return allocate.Original(text);
    });
    PATCH_IMPORT(free, SysFreeString, [this](BSTR text) {
        --fake.openTexts;
        free.Original(text);
    });
};

CFakeWmi::CFakeWmi(std::vector<std::string>& calls) : m_calls(calls) {
    s_wmi = this;
    s_locatorSlots.Set(2, &Objects::Release);
    s_locatorSlots.Set(3, &Objects::ConnectServer);
    s_servicesSlots.Set(2, &Objects::Release);
    s_servicesSlots.Set(20, &Objects::ExecQuery);
    s_enumeratorSlots.Set(2, &Objects::Release);
    s_enumeratorSlots.Set(4, &Objects::Next);
    s_objectSlots.Set(2, &Objects::Release);
    s_objectSlots.Set(4, &Objects::Get);
    m_patches = std::make_unique<Patches>(*this);
}

CFakeWmi::~CFakeWmi() = default;

void CFakeWmi::AddInstance(const VARIANT& value, HRESULT nextResult) {
    nextAnswers.push_back({nextResult, 1, true});
    values.push_back(value);
}

void CFakeWmi::Record(const std::string& call) { m_calls.push_back(call); }

HRESULT CFakeWmi::ResultOf(const char* function) const {
    const auto result = results.find(function);
    return result == results.end() ? S_OK : result->second;
}

VARIANT Number(LONG number, VARTYPE type) {
    VARIANT value{};
    value.vt = type;
    value.lVal = number;
    return value;
}
