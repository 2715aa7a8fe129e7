#include "src/amdsdk/modeloffsets.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

struct Model {
    const wchar_t* name;
    int degreesCelsius;
};

int OffsetOf(const wchar_t* name) { return ModelTemperatureOffset(BlankFreeName(name)); }

TEST(ModelOffsets, EveryModelOfTheTableHasItsOffset) {
    constexpr Model kModels[] = {
        {L"AMD Ryzen 7 1800X Eight-Core Processor", 20},
        {L"AMD Ryzen 7 1700X Eight-Core Processor", 20},
        {L"AMD Ryzen 5 1600X Six-Core Processor", 20},
        {L"AMD Ryzen Threadripper 1950X 16-Core Processor", 27},
        {L"AMD Ryzen Threadripper 1900X 8-Core Processor", 27},
        {L"AMD Ryzen Threadripper 1920X 12-Core Processor", 27},
        {L"AMD Ryzen Threadripper 1950 16-Core Processor", 10},
        {L"AMD Ryzen Threadripper 1920 12-Core Processor", 10},
        {L"AMD Ryzen Threadripper 1900 8-Core Processor", 10},
    };
    for (const Model& model : kModels) {
        EXPECT_EQ(OffsetOf(model.name), model.degreesCelsius) << BlankFreeName(model.name);
    }
}

TEST(ModelOffsets, NearMissesHaveNone) {
    for (const wchar_t* name : {
             L"",
             L" ",
             L"AMD",
             L"AMD Ryzen 7 1800 Eight-Core Processor",
             L"AMD Ryzen 7 1800X Six-Core Processor",
             L"AMD Ryzen 7 1700 Eight-Core Processor",
             L"AMD Ryzen 7 2700X Eight-Core Processor",
             L"AMD Ryzen 5 1600 Six-Core Processor",
             L"AMD Ryzen 5 1600X Eight-Core Processor",
             L"AMD Ryzen 5 1600X Six-Core Processo",
             L"MD Ryzen 5 1600X Six-Core Processor",
             L"AMD Ryzen Threadripper 1950X 12-Core Processor",
             L"AMD Ryzen Threadripper 1920X 16-Core Processor",
             L"AMD Ryzen Threadripper 1920 8-Core Processor",
             L"AMD Ryzen Threadripper 1900X 16-Core Processor",
             L"AMD Ryzen Threadripper 2950X 16-Core Processor",
             L"AMD Ryzen(TM) 7 1800X Eight-Core Processor",
             L"AMD Ryzen 7 1800X Eight Core Processor",
             L"AMD Ryzen 7 1800X Eight-Core  CPU",
         }) {
        EXPECT_EQ(OffsetOf(name), 0) << BlankFreeName(name);
    }
}

TEST(ModelOffsets, LetterCaseMatters) {
    EXPECT_EQ(OffsetOf(L"amd ryzen 7 1800x eight-core processor"), 0);
    EXPECT_EQ(OffsetOf(L"AMD RYZEN 7 1800X EIGHT-CORE PROCESSOR"), 0);
    EXPECT_EQ(OffsetOf(L"AMD Ryzen 7 1800x Eight-Core Processor"), 0);
}

TEST(ModelOffsets, NameMatchesAnywhereInTheText) {
    EXPECT_EQ(OffsetOf(L"xAMD Ryzen 5 1600X Six-Core Processory"), 20);
    EXPECT_EQ(OffsetOf(L"Simulated: AMD Ryzen Threadripper 1900 8-Core Processor (2)"), 10);
}

TEST(ModelOffsets, FirstModelOfTheTableWinsWhenTwoMatch) {
    EXPECT_EQ(OffsetOf(L"AMD Ryzen Threadripper 1950 16-Core Processor"
                       L"AMD Ryzen 7 1800X Eight-Core Processor"),
              20);
    EXPECT_EQ(OffsetOf(L"AMD Ryzen Threadripper 1900 8-Core Processor"
                       L"AMD Ryzen Threadripper 1920X 12-Core Processor"),
              27);
}

TEST(ModelOffsets, BlanksAnywhereAreLeftOut) {
    EXPECT_EQ(OffsetOf(L"AMDRyzen51600XSix-CoreProcessor"), 20);
    EXPECT_EQ(OffsetOf(L"  A M D  Ryzen 5 16 00X    Six - Core Processor   "), 20);
}

TEST(ModelOffsets, OtherWhiteSpaceThanBlanksStaysAndMatchesNothing) {
    for (const wchar_t* name :
         {L"AMD Ryzen\t5 1600X Six-Core Processor", L"AMD Ryzen 5 1600X\nSix-Core Processor",
          L"AMD\rRyzen 5 1600X Six-Core Processor", L"AMD Ryzen 5 1600X\u00A0Six-Core Processor"}) {
        SCOPED_TRACE(testing::PrintToString(name));
        EXPECT_EQ(OffsetOf(name), 0);
    }
    EXPECT_EQ(BlankFreeName(L"a b\tc\r\n d\v"), "ab\tc\r\nd\v");
}

TEST(BlankFreeName, NullNameIsEmpty) { EXPECT_EQ(BlankFreeName(nullptr), ""); }

TEST(BlankFreeName, NamesOfMoreThan255CharactersAreCutAt256Bytes) {
    for (const size_t length : {254u, 255u, 256u, 257u, 300u, 5000u}) {
        EXPECT_EQ(BlankFreeName(std::wstring(length, L'x').c_str()),
                  std::string(std::min<size_t>(length, 256), 'x'))
            << length;
    }
}

TEST(BlankFreeName, BlanksCountTowardsTheBytesThatAreLookedAt) {
    const std::wstring key = L"AMDRyzen51600XSix-CoreProcessor";
    const std::wstring fits = std::wstring(256 - key.size(), L' ') + key;
    EXPECT_EQ(OffsetOf(fits.c_str()), 20);
    EXPECT_EQ(OffsetOf((fits + L"and more behind it").c_str()), 20);
    EXPECT_EQ(OffsetOf((L" " + fits).c_str()), 0);
}

TEST(BlankFreeName, CharacterThatTheLocaleDoesNotHaveEndsTheName) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread here.
    ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
    EXPECT_EQ(BlankFreeName(L"AMD \u4E2D Ryzen"), "AMD");
    EXPECT_EQ(BlankFreeName(L"\u4E2D"), "");
}

}  // namespace
