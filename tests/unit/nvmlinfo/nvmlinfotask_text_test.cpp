#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "src/nvmlinfo/nvmlinfotask.h"
#include "tests/support/fakenvml.h"
#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"
#include "tests/unit/nvmlinfo/expectedrecord.h"

namespace {

using testing::Each;

constexpr size_t kName = 104;
constexpr size_t kBusId = 412;
constexpr uint32_t kThreadAnsiCodePage = 3;

// The texts of a dynamic record; static records share the code.
class NvmlRecordText : public testing::Test {
  protected:
    void SetUp() override {
        m_library.deviceCount = 1;
        ASSERT_EQ(m_task.Init(), 1);
        ASSERT_EQ(m_task.Execute(m_process), 1);
    }

    const CFakeProcess::Message& Send() {
        m_process->messages.clear();
        m_task.Execute(m_process);
        return m_process->messages.at(0);
    }

    CTestLog m_log;
    CFakeNvml m_library;
    CNvmlInfoTask m_task;
    std::shared_ptr<CFakeProcess> m_process = std::make_shared<CFakeProcess>();
};

}  // namespace

TEST_F(NvmlRecordText, IsWholeUpToThirtyOneCharacters) {
    m_library.gpus[0].name = std::string(31, 'n');
    EXPECT_EQ(WideField(Send(), kName), std::wstring(31, L'n'));
}

TEST_F(NvmlRecordText, IsCutToThirtyOneCharactersWithoutTouchingTheNextField) {
    for (const size_t length : {32u, 63u, 64u, 200u}) {
        m_library.gpus[0].name = std::string(length, 'n');
        FakeGpu cut = m_library.gpus[0];
        cut.name = std::string(31, 'n');
        EXPECT_EQ(Difference(Send(), CExpectedRecord::Of(2, 0, 1, cut, "")), "same") << length;
    }
}

TEST_F(NvmlRecordText, HasOnlyZeroBehindItsEnd) {
    m_library.gpus[0].name = std::string("short\0behind the end", 20);
    FakeGpu shortName = m_library.gpus[0];
    shortName.name = "short";
    EXPECT_EQ(Difference(Send(), CExpectedRecord::Of(2, 0, 1, shortName, "")), "same");
}

TEST_F(NvmlRecordText, IsNeverAFormat) {
    m_library.gpus[0].name = "100% %s%s%n GPU";
    EXPECT_EQ(WideField(Send(), kName), L"100% %s%s%n GPU");
}

TEST_F(NvmlRecordText, IsConvertedFromTheAnsiCodePageOfTheThread) {
    std::vector<UINT> codePages;
    std::vector<std::string> texts;
    PATCH_IMPORT(
        patch, MultiByteToWideChar,
        [&](UINT codePage, DWORD flags, const char* text, int length, wchar_t* wide, int size) {
            codePages.push_back(codePage);
            texts.emplace_back(text);
            return patch.Original(codePage, flags, text, length, wide, size);
        });
    m_library.gpus[0].name = "Quadro";
    Send();
    EXPECT_THAT(texts, testing::ElementsAre("Quadro"));
    EXPECT_THAT(codePages, Each(kThreadAnsiCodePage));
}

TEST_F(NvmlRecordText, IsWhatTheConversionMakesOfIt) {
    PATCH_IMPORT(patch, MultiByteToWideChar,
                 [](UINT, DWORD, const char*, int, wchar_t* wide, int) -> int {
                     std::copy_n(L"\x30AF\x00E9", 3, wide);
                     return 3;
                 });
    EXPECT_EQ(WideField(Send(), kName), L"\x30AF\x00E9");
}

TEST_F(NvmlRecordText, IsEmptyWhenItCannotBeConverted) {
    PATCH_IMPORT(patch, MultiByteToWideChar,
                 [](UINT, DWORD, const char*, int, wchar_t* wide, int size) -> int {
                     std::fill_n(wide, size, L'x');
                     return 0;
                 });
    EXPECT_EQ(WideField(Send(), kName), L"");
}

TEST_F(NvmlRecordText, HoldsABusIdOfThirtyOneCharactersAndANul) {
    auto& busId = m_library.gpus[0].pci.busId;
    std::fill(std::begin(busId), std::end(busId), 'b');
    const CFakeProcess::Message& record = Send();
    EXPECT_EQ(record.payload.substr(kBusId, 36), std::string(31, 'b') + std::string(5, '\0'));
}

TEST_F(NvmlRecordText, TakesTheBusIdUpToItsEnd) {
    auto& busId = m_library.gpus[0].pci.busId;
    std::fill(std::begin(busId), std::end(busId), 'b');
    busId[4] = '\0';
    EXPECT_EQ(Send().payload.substr(kBusId, 36), "bbbb" + std::string(32, '\0'));
}
