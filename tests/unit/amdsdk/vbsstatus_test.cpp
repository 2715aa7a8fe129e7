#include <gtest/gtest.h>
#include <wbemidl.h>

#include "src/amdsdk/utility.h"
#include "tests/support/fakewmi.h"

namespace {

using Calls = std::vector<std::string>;

constexpr uint32_t kUntouched = 77;

// The whole query, without instances.
const Calls kQuery = {
    "CoInitializeEx(null, 0)",
    "CoInitializeSecurity(null, -1, null, null, 0, 3, null, 0, null)",
    "CoCreateInstance(WbemLocator, null, 1, IWbemLocator)",
    R"(ConnectServer("ROOT\Microsoft\Windows\DeviceGuard", null, null, null, 0, null, null))",
    "CoSetProxyBlanket(services, 10, 0, null, 3, 3, null, 0)",
    R"(ExecQuery("WQL", "SELECT * FROM Win32_DeviceGuard", 48, null))",
};

const Calls kInstance = {
    "Next(-1, 1)",
    R"(Get("VirtualizationBasedSecurityStatus", 0, null, null))",
    "VariantClear()",
    "Release(object)",
};

const Calls kEnd = {"Next(-1, 1)", "Release(services)", "Release(locator)", "Release(enumerator)",
                    "CoUninitialize()"};

Calls Join(std::initializer_list<Calls> parts) {
    Calls all;
    for (const Calls& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class CVbsStatusTest : public testing::Test {
  protected:
    // The first `steps` calls of the query, then `cleanUp`.
    void ExpectFailure(const char* function, HRESULT result, size_t steps, const Calls& cleanUp) {
        m_wmi.results[function] = result;
        EXPECT_EQ(QueryVbsStatus(&m_status), 1);
        const auto end = kQuery.begin() + static_cast<ptrdiff_t>(steps);
        EXPECT_EQ(m_calls, Join({Calls(kQuery.begin(), end), cleanUp}));
        EXPECT_EQ(m_status, kUntouched);
        EXPECT_EQ(m_wmi.openTexts, 0);
    }

    Calls m_calls;
    CFakeWmi m_wmi{m_calls};
    uint32_t m_status = kUntouched;
};

TEST_F(CVbsStatusTest, FailureToInitializeComEndsTheQueryAtOnce) {
    ExpectFailure("CoInitializeEx", RPC_E_CHANGED_MODE, 1, {});
}

TEST_F(CVbsStatusTest, SecurityThatWasSetUpElsewhereEndsTheQuery) {
    ExpectFailure("CoInitializeSecurity", RPC_E_TOO_LATE, 2, {"CoUninitialize()"});
}

TEST_F(CVbsStatusTest, FailureToCreateTheLocatorEndsTheQuery) {
    ExpectFailure("CoCreateInstance", REGDB_E_CLASSNOTREG, 3, {"CoUninitialize()"});
}

TEST_F(CVbsStatusTest, MissingNamespaceEndsTheQueryAndReleasesTheLocator) {
    ExpectFailure("ConnectServer", static_cast<HRESULT>(WBEM_E_INVALID_NAMESPACE), 4,
                  {"Release(locator)", "CoUninitialize()"});
}

TEST_F(CVbsStatusTest, FailureToSetTheBlanketReleasesServicesAndLocator) {
    ExpectFailure("CoSetProxyBlanket", E_NOINTERFACE, 5,
                  {"Release(services)", "Release(locator)", "CoUninitialize()"});
}

TEST_F(CVbsStatusTest, FailedQueryReleasesServicesAndLocator) {
    ExpectFailure("ExecQuery", static_cast<HRESULT>(WBEM_E_INVALID_CLASS), 6,
                  {"Release(services)", "Release(locator)", "CoUninitialize()"});
}

TEST_F(CVbsStatusTest, QueryWithoutInstancesSucceedsAndLeavesTheStatus) {
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, kUntouched);
    EXPECT_EQ(m_calls, Join({kQuery, kEnd}));
    EXPECT_EQ(m_wmi.openTexts, 0);
}

TEST_F(CVbsStatusTest, InstanceGivesTheStatusAndIsReleased) {
    m_wmi.AddInstance(Number(2));
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, 2u);
    EXPECT_EQ(m_calls, Join({kQuery, kInstance, kEnd}));
    EXPECT_EQ(m_wmi.openTexts, 0);
}

TEST_F(CVbsStatusTest, LastInstanceWins) {
    m_wmi.AddInstance(Number(2));
    m_wmi.AddInstance(Number(1));
    m_wmi.AddInstance(Number(0));
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, 0u);
    EXPECT_EQ(m_calls, Join({kQuery, kInstance, kInstance, kInstance, kEnd}));
}

TEST_F(CVbsStatusTest, NumberIsTakenWhateverTheTypeOfTheValueSays) {
    constexpr VARTYPE kTypes[] = {VT_EMPTY, VT_NULL, VT_I4, VT_UI4, VT_BOOL, VT_ERROR};
    for (const VARTYPE type : kTypes) {
        SCOPED_TRACE(type);
        m_wmi.AddInstance(Number(-2, type));
        EXPECT_EQ(QueryVbsStatus(&m_status), 0);
        EXPECT_EQ(m_status, 0xFFFFFFFEu) << type;
        m_status = kUntouched;
    }
}

TEST_F(CVbsStatusTest, ValueThatIsATextIsFreed) {
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(L"running");
    ASSERT_NE(value.bstrVal, nullptr);
    const auto lowBits = static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(value.bstrVal));
    m_wmi.AddInstance(value);
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, lowBits);
    EXPECT_EQ(m_calls, Join({kQuery, kInstance, kEnd}));
}

TEST_F(CVbsStatusTest, InstanceWithoutThePropertyCountsAsOff) {
    m_wmi.results["Get"] = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
    m_wmi.AddInstance(Number(2));
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, 0u);
    EXPECT_EQ(m_calls, Join({kQuery, kInstance, kEnd}));
}

TEST_F(CVbsStatusTest, ResultsThatAreNotNegativeGoOn) {
    for (const char* function : {"CoInitializeEx", "CoInitializeSecurity", "CoCreateInstance",
                                 "ConnectServer", "CoSetProxyBlanket", "ExecQuery"}) {
        m_wmi.results[function] = S_FALSE;
    }
    m_wmi.AddInstance(Number(1));
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, 1u);
    EXPECT_EQ(m_calls, Join({kQuery, kInstance, kEnd}));
}

TEST_F(CVbsStatusTest, EnumerationGoesOnAfterAFailingResultThatReturnedAnObject) {
    m_wmi.AddInstance(Number(1), static_cast<HRESULT>(WBEM_E_TRANSPORT_FAILURE));
    m_wmi.AddInstance(Number(3), WBEM_S_TIMEDOUT);
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, 3u);
    EXPECT_EQ(m_calls, Join({kQuery, kInstance, kInstance, kEnd}));
}

TEST_F(CVbsStatusTest, EnumerationEndsWhenNothingWasReturnedThoughTheResultIsSuccess) {
    m_wmi.nextAnswers = {{S_OK, 0, true}};
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, kUntouched);
    EXPECT_EQ(m_calls, Join({kQuery, kEnd}));
}

TEST_F(CVbsStatusTest, EnumerationThatFailsLeavesAnAnsweredQuery) {
    m_wmi.nextAnswers = {{static_cast<HRESULT>(WBEM_E_INVALID_CLASS), 0, false}};
    EXPECT_EQ(QueryVbsStatus(&m_status), 0);
    EXPECT_EQ(m_status, kUntouched);
    EXPECT_EQ(m_calls, Join({kQuery, kEnd}));
}

}  // namespace
