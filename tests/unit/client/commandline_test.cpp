#include "client/commandline.h"

#include <gtest/gtest.h>

#include <random>

#include "base/commandline.h"

namespace zorvane {
namespace {

TEST(CommandLineTest, GivesBackExactlyTheWordsOfAnyCommand) {
    std::mt19937 random(20241121);
    const std::wstring alphabet = L"a =\\\"\t\u00E4%";
    const auto anyWord = [&] {
        std::wstring word;
        for (auto length = random() % 8; length > 0; --length) {
            word += alphabet[random() % alphabet.size()];
        }
        return word;
    };
    for (int i = 0; i < 3000; ++i) {
        SCOPED_TRACE(i);
        WorkerCommand command;
        command.host = L"C:\\Program Files\\z\\zorvanehost.exe";
        command.entry = anyWord();
        command.libraryPath = L"C:\\" + anyWord();
        command.words = {anyWord(), anyWord()};
        const std::wstring line = BuildCommandLine(command, nullptr, {7, 99});
        const std::vector<std::wstring> expected{command.host,
                                                 L"--wnd=0",
                                                 L"--entry=" + command.entry,
                                                 L"--parent=7:99",
                                                 L"--library=" + command.libraryPath,
                                                 command.words[0],
                                                 command.words[1]};
        ASSERT_EQ(SplitCommandLine(line), expected);
    }
}

TEST(CommandLineTest, LeavesTheLibraryOutWhenTheHostIsToTakeItsOwn) {
    WorkerCommand command;
    command.host = L"h.exe";
    command.entry = L"e";
    EXPECT_EQ(BuildCommandLine(command, nullptr, {7, 99}),
              L"\"h.exe\" --wnd=0 --entry=e --parent=7:99");
}

TEST(CommandLineTest, NamesTheNvmlThatIsChosen) {
    WorkerCommand command;
    command.host = L"h.exe";
    command.entry = L"e";
    command.nvml = L"fixed";
    EXPECT_EQ(BuildCommandLine(command, nullptr, {7, 99}),
              L"\"h.exe\" --wnd=0 --entry=e --parent=7:99 --nvml=fixed");
}

TEST(CommandLineTest, WritesAWindowHandleAsASignedDecimalOf32Bits) {
    const auto window = [](uintptr_t value) { return reinterpret_cast<HWND>(value); };
    EXPECT_EQ(WindowText(window(132456)), L"132456");
    EXPECT_EQ(WindowText(window(0xFFFFFFFF80000001)), L"-2147483647");
    EXPECT_EQ(WindowText(window(0x80000001)), L"-2147483647");
}

}  // namespace
}  // namespace zorvane
