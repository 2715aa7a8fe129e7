#include "base/importtable.h"

#include <gtest/gtest.h>

namespace zorvane {
namespace {

using TickCount = decltype(GetTickCount64)*;

ULONGLONG WINAPI Forty() { return 40; }

TEST(ImportTableTest, EntryHoldsTheAddressOfTheFunction) {
    void** entry = FindImport(nullptr, "GetTickCount64");
    ASSERT_NE(entry, nullptr);
    const auto before = reinterpret_cast<TickCount>(zorvane::ReadImport(entry))();
    EXPECT_LE(before, GetTickCount64());
}

TEST(ImportTableTest, ExchangedEntryIsTheOneThatCallsUse) {
    void** entry = FindImport(nullptr, "GetTickCount64");
    ASSERT_NE(entry, nullptr);
    void* original = zorvane::ReadImport(entry);
    EXPECT_EQ(ExchangeImport(entry, reinterpret_cast<void*>(&Forty)), original);
    EXPECT_EQ(GetTickCount64(), 40u);
    EXPECT_EQ(ExchangeImport(entry, original), reinterpret_cast<void*>(&Forty));
    EXPECT_NE(GetTickCount64(), 40u);
}

TEST(ImportTableTest, FunctionThatIsNotImportedHasNoEntry) {
    EXPECT_EQ(FindImport(nullptr, "NoSuchFunction"), nullptr);
    EXPECT_EQ(zorvane::FindImport(GetModuleHandleW(L"ntdll.dll"), "GetTickCount64"), nullptr);
}

}  // namespace
}  // namespace zorvane
