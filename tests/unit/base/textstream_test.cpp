#include "base/textstream.h"

#include <gtest/gtest.h>

#include <string>

#include "base/handle.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"

namespace zorvane {
namespace {

TEST(TextStreamTest, WritesTheBytesToAFile) {
    const CTempFolder folder;
    const std::wstring path = folder.PathOf(L"out.txt");
    const CUniqueHandle file = OwnFile(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                                   CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(file);
    EXPECT_FALSE(IsConsole(file.get()));
    EXPECT_FALSE(WriteText(file.get(), "\xC3\x84\n"));
    EXPECT_EQ(GetFileSize(file.get(), nullptr), 3u);
}

TEST(TextStreamTest, AnswersTheError) {
    const auto error = WriteText(nullptr, "x");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->call, "WriteFile");
    EXPECT_EQ(error->code, static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(TextStreamTest, GoesOnAfterAWriteThatTookOnlyAPart) {
    std::string written;
    PATCH_IMPORT(partial, WriteFile,
                 [&](HANDLE, LPCVOID bytes, DWORD, LPDWORD count, LPOVERLAPPED) -> WINBOOL {
                     written += *static_cast<const char*>(bytes);
                     *count = 1;
                     return TRUE;
                 });
    EXPECT_FALSE(WriteText(GetCurrentProcess(), "abc"));
    EXPECT_EQ(written, "abc");
}

TEST(TextStreamTest, WritesUtf16ToAConsole) {
    std::wstring written;
    PATCH_IMPORT(mode, GetConsoleMode, [](HANDLE, LPDWORD) -> WINBOOL { return TRUE; });
    PATCH_IMPORT(console, WriteConsoleW,
                 [&](HANDLE, const void* text, DWORD length, LPDWORD, LPVOID) -> WINBOOL {
                     written.append(static_cast<const wchar_t*>(text), length);
                     return TRUE;
                 });
    EXPECT_TRUE(IsConsole(GetCurrentProcess()));
    EXPECT_FALSE(WriteText(GetCurrentProcess(), "\xC2\xB0"));
    EXPECT_EQ(written, L"\x00B0");
}

}  // namespace
}  // namespace zorvane
