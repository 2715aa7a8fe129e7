#include <gtest/gtest.h>
#include <sys/timeb.h>
#include <time.h>

#include "src/log/appender.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"

namespace {

constexpr __time64_t kSeconds = 1731715805;

// The parts of a local time.
struct Moment {
    int month;
    int day;
    int hour;
    int minute;
    int second;
    unsigned short milliseconds;
};

constexpr Moment kMoment = {11, 16, 0, 10, 5, 123};

class AppenderLine : public testing::Test {
  protected:
    // The bytes that flushing `text` at `moment` writes to the file.
    std::string Write(const std::wstring& text, const Moment& moment = kMoment,
                      const std::wstring& tag = L"E", DWORD process = 4242, DWORD thread = 4711) {
        ZorLog::LogAppender appender(m_path.c_str(), tag.c_str());
        PATCH_IMPORT(clock, _ftime64_s, [&](__timeb64* now) -> errno_t {
            now->time = kSeconds;
            now->millitm = moment.milliseconds;
            return 0;
        });
        const CLocalTimePatch local(LocalTimeEntry(),
                                    [&](tm* result, const __time64_t* seconds) -> errno_t {
                                        if (*seconds == kSeconds) {
                                            result->tm_mon = moment.month - 1;
                                            result->tm_mday = moment.day;
                                            result->tm_hour = moment.hour;
                                            result->tm_min = moment.minute;
                                            result->tm_sec = moment.second;
                                        }
                                        return 0;
                                    });
        PATCH_IMPORT(processId, GetCurrentProcessId, [=] { return process; });
        PATCH_IMPORT(threadId, GetCurrentThreadId, [=] { return thread; });
        appender.Flush(text.c_str(), false);
        return ReadFileBytes(m_path);
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
};

std::string TextOf(const std::string& line, const std::string& tag = "E") {
    const std::string stamp = "11-16 00:10:05.123 [ 4242][ 4711][" + tag + "]";
    return line.starts_with(stamp) ? line.substr(stamp.size()) : "no stamp: " + line;
}

}  // namespace

TEST_F(AppenderLine, IsTheStampDirectlyFollowedByTheTextAndALineEnd) {
    EXPECT_EQ(
        Write(L"[I][  65][utility] service is not running. 1"),
        "11-16 00:10:05.123 [ 4242][ 4711][E][I][  65][utility] service is not running. 1\r\n");
}

TEST_F(AppenderLine, PadsTheNumbersOfTheMoment) {
    EXPECT_EQ(Write(L"x", {1, 2, 3, 4, 5, 6}), "01-02 03:04:05.006 [ 4242][ 4711][E]x\r\n");
}

TEST_F(AppenderLine, ShowsTheLastMomentOfAYear) {
    EXPECT_EQ(Write(L"x", {12, 31, 23, 59, 59, 999}), "12-31 23:59:59.999 [ 4242][ 4711][E]x\r\n");
}

TEST_F(AppenderLine, AlignsTheIdsInFivePlacesAndLetsWiderOnesTakeMore) {
    EXPECT_EQ(Write(L"x", kMoment, L"E", 8, 12345), "11-16 00:10:05.123 [    8][12345][E]x\r\n");
}

TEST_F(AppenderLine, LetsWiderIdsTakeMoreRoom) {
    EXPECT_EQ(Write(L"x", kMoment, L"E", 1234567, 234567),
              "11-16 00:10:05.123 [1234567][234567][E]x\r\n");
}

TEST_F(AppenderLine, CarriesTheWholeTag) {
    EXPECT_EQ(Write(L"x", kMoment, L"Tag 7"), "11-16 00:10:05.123 [ 4242][ 4711][Tag 7]x\r\n");
}

TEST_F(AppenderLine, HasAnEmptyTagWhenTheTagIsNull) {
    ZorLog::LogAppender appender(m_path.c_str(), nullptr);
    appender.Flush(L"x", false);
    EXPECT_TRUE(ReadFileBytes(m_path).ends_with("][]x\r\n")) << ReadFileBytes(m_path);
}

TEST_F(AppenderLine, CutsAStampThatATagMakesLongerThanItsBuffer) {
    const std::string line = Write(L"text", kMoment, std::wstring(500, L't'));
    const std::string stamp = "11-16 00:10:05.123 [ 4242][ 4711][" + std::string(99, 't');
    EXPECT_EQ(line, stamp.substr(0, 99) + "text\r\n");
}

TEST_F(AppenderLine, HoldsATextOfAnyLength) {
    const std::string text(200'000, 'x');
    EXPECT_EQ(TextOf(Write(std::wstring(text.begin(), text.end()))), text + "\r\n");
}

TEST_F(AppenderLine, TakesTheTextAsItIs) {
    EXPECT_EQ(TextOf(Write(L"100%s %n\ttab\nand line")), "100%s %n\ttab\nand line\r\n");
}

TEST_F(AppenderLine, IsOnlyAStampWhenThereIsNoText) { EXPECT_EQ(TextOf(Write(L"")), "\r\n"); }

TEST_F(AppenderLine, IsConvertedToTheAnsiCodePageWithItsDefaultCharacter) {
    std::string asked;
    PATCH_IMPORT(convert, WideCharToMultiByte,
                 [&](UINT page, DWORD flags, LPCWCH text, int length, LPSTR bytes, int size,
                     LPCCH defaultCharacter, LPBOOL usedDefault) {
                     asked = "page " + std::to_string(page) + ", flags " + std::to_string(flags);
                     return convert.Original(1252, flags, text, length, bytes, size,
                                             defaultCharacter, usedDefault);
                 });
    EXPECT_EQ(TextOf(Write(L"\u00E4 \u20AC \u0416\u6E29 end")), "\xE4 \x80 ?? end\r\n");
    EXPECT_EQ(asked, "page 0, flags 0");
}

TEST_F(AppenderLine, HasRoomForTwoBytesACharacter) {
    PATCH_IMPORT(convert, WideCharToMultiByte,
                 [&](UINT, DWORD flags, LPCWCH text, int length, LPSTR bytes, int size,
                     LPCCH defaultCharacter, LPBOOL usedDefault) {
                     return convert.Original(932, flags, text, length, bytes, size,
                                             defaultCharacter, usedDefault);
                 });
    std::string expected;
    for (int character = 0; character < 300; ++character) {
        expected += "\x89\xB7";
    }
    EXPECT_EQ(TextOf(Write(std::wstring(300, L'\u6E29'))), expected + "\r\n");
}

TEST_F(AppenderLine, IsEmptyWhenTheConversionFails) {
    PATCH_IMPORT(convert, WideCharToMultiByte, [](auto...) { return 0; });
    EXPECT_EQ(Write(L"text"), "\r\n");
}

TEST_F(AppenderLine, ShowsTheLocalTimeOfTheClock) {
    ZorLog::LogAppender appender(m_path.c_str(), L"E");
    PATCH_IMPORT(clock, _ftime64_s, [](__timeb64* now) -> errno_t {
        now->time = kSeconds;
        now->millitm = 7;
        return 0;
    });
    appender.Flush(L"x", false);
    tm local{};
    _localtime64_s(&local, &kSeconds);
    char stamp[32] = {};
    ASSERT_NE(strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S.007 [", &local), 0u);
    EXPECT_TRUE(ReadFileBytes(m_path).starts_with(stamp)) << ReadFileBytes(m_path);
}
