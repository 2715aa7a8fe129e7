#include "src/amdsdk/productname.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/importpatch.h"

namespace {

// A value as RegQueryValueExW returns it.
struct RegistryValue {
    DWORD type;
    std::string bytes;
    LSTATUS result = ERROR_SUCCESS;
};

std::string Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

// Reads `value`; as much of it as fits is copied to the buffer.
std::optional<std::wstring> Read(const RegistryValue& value) {
    PATCH_IMPORT(open, RegOpenKeyExW, [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY key) -> LSTATUS {
        *key = reinterpret_cast<HKEY>(ULONG_PTR{8});
        return ERROR_SUCCESS;
    });
    PATCH_IMPORT(close, RegCloseKey, [](HKEY) -> LSTATUS { return ERROR_SUCCESS; });
    PATCH_IMPORT(query, RegQueryValueExW,
                 [&](HKEY, LPCWSTR, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) -> LSTATUS {
                     std::copy_n(value.bytes.begin(), std::min<size_t>(value.bytes.size(), *size),
                                 reinterpret_cast<char*>(data));
                     *type = value.type;
                     *size = static_cast<DWORD>(value.bytes.size());
                     return value.result;
                 });
    return CRegistryKey(HKEY_LOCAL_MACHINE, L"path", KEY_READ).ReadText(L"name");
}

const std::wstring kName(L"MS-7B79\0", 8);

TEST(ProductName, TextIsReadFromBothTextTypes) {
    EXPECT_EQ(Read({REG_SZ, Bytes(kName)}), L"MS-7B79");
    EXPECT_EQ(Read({REG_EXPAND_SZ, Bytes(kName)}), L"MS-7B79");
}

TEST(ProductName, OtherTypesAreNotRead) {
    constexpr DWORD kTypes[] = {REG_NONE,
                                REG_BINARY,
                                REG_DWORD,
                                REG_DWORD_BIG_ENDIAN,
                                REG_LINK,
                                REG_MULTI_SZ,
                                REG_RESOURCE_LIST,
                                REG_FULL_RESOURCE_DESCRIPTOR,
                                REG_RESOURCE_REQUIREMENTS_LIST,
                                REG_QWORD,
                                0xFFFFFFFF};
    for (const DWORD type : kTypes) {
        EXPECT_EQ(Read({type, Bytes(kName)}), std::nullopt) << type;
    }
}

TEST(ProductName, FailedReadIsNotLookedAt) {
    constexpr LSTATUS kResults[] = {ERROR_FILE_NOT_FOUND, ERROR_MORE_DATA};
    for (const LSTATUS result : kResults) {
        EXPECT_EQ(Read({REG_SZ, Bytes(kName), result}), std::nullopt) << result;
    }
}

TEST(ProductName, KeyOfAFailedOpenIsNeitherReadNorClosed) {
    PATCH_IMPORT(open, RegOpenKeyExW, [](HKEY, LPCWSTR, DWORD, REGSAM, PHKEY key) -> LSTATUS {
        *key = reinterpret_cast<HKEY>(ULONG_PTR{8});
        return ERROR_ACCESS_DENIED;
    });
    int calls = 0;
    const auto count = [&](auto...) -> LSTATUS {
        ++calls;
        return ERROR_SUCCESS;
    };
    PATCH_IMPORT(query, RegQueryValueExW, count);
    PATCH_IMPORT(close, RegCloseKey, count);
    EXPECT_EQ(CRegistryKey(HKEY_LOCAL_MACHINE, L"path", KEY_READ).ReadText(L"name"), std::nullopt);
    EXPECT_EQ(calls, 0);
}

TEST(ProductName, OddByteCountIsMalformed) {
    EXPECT_EQ(Read({REG_SZ, std::string("a\0\0", 3)}), std::nullopt);
    EXPECT_EQ(Read({REG_SZ, std::string("a\0\0\0\0", 5)}), std::nullopt);
    EXPECT_EQ(Read({REG_SZ, std::string(1, '\0')}), std::nullopt);
}

TEST(ProductName, TextWithoutNulIsMalformedThoughTheBufferBehindItIsZero) {
    EXPECT_EQ(Read({REG_SZ, Bytes(L"MS-7B79")}), std::nullopt);
    EXPECT_EQ(Read({REG_SZ, Bytes(std::wstring(1024, L'x'))}), std::nullopt);
}

TEST(ProductName, CountOfZeroIsTheEmptyName) { EXPECT_EQ(Read({REG_SZ, ""}), L""); }

TEST(ProductName, NulAloneIsTheEmptyName) {
    EXPECT_EQ(Read({REG_SZ, Bytes(std::wstring(1, L'\0'))}), L"");
}

TEST(ProductName, WholeBufferOf2048BytesIsRead) {
    const std::wstring longest(1023, L'x');
    EXPECT_EQ(Read({REG_SZ, Bytes(longest + L'\0')}), longest);
}

TEST(ProductName, CountBeyondTheBufferIsMalformed) {
    EXPECT_EQ(Read({REG_SZ, Bytes(std::wstring(1024, L'x') + L'\0')}), std::nullopt);
    EXPECT_EQ(Read({REG_SZ, std::string(1 << 20, '\0')}), std::nullopt);
}

TEST(ProductName, NameEndsAtItsFirstNul) {
    EXPECT_EQ(Read({REG_SZ, Bytes(std::wstring(L"ab\0cd\0", 6))}), L"ab");
}

TEST(ProductName, SkippedProductIsKnownInAnyLetterCase) {
    for (const wchar_t* name :
         {L"Surface Laptop 3", L"SURFACE LAPTOP 3", L"surface laptop 3", L"sURFACE lAPTOP 3"}) {
        SCOPED_TRACE(testing::PrintToString(name));
        EXPECT_TRUE(IsSkippedProduct(name));
    }
}

TEST(ProductName, OtherProductsAreNotSkipped) {
    for (const wchar_t* name :
         {L"", L"Surface Laptop 3 ", L" Surface Laptop 3", L"Surface Laptop", L"Surface Laptop 4",
          L"Surface Laptop 30", L"Surface  Laptop 3", L"SurfaceLaptop3", L"Surface Laptop\t3",
          L"\u017Furface Laptop 3", L"My Surface Laptop 3"}) {
        SCOPED_TRACE(testing::PrintToString(name));
        EXPECT_FALSE(IsSkippedProduct(name));
    }
}

}  // namespace
