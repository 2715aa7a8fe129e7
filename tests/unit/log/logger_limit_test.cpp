#include <gtest/gtest.h>
#include <io.h>

#include "src/log/logger.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/log/loglines.h"
#include "tests/unit/log/mutexwaits.h"

namespace {

using Texts = std::vector<std::string>;

constexpr long kLimit = 104857600;

// A log whose file appears to have `found` bytes when opened, and whose every line counts one byte.
class LogLimit : public testing::Test {
  protected:
    ~LogLimit() override { m_logger.Close(); }

    // Init with the start marker written and counted.
    void Open(long found) {
        m_found = found;
        m_logger.Init(m_path.c_str(), L"E");
        m_logger.Write(L"first");
    }

    Texts Lines() const { return LogTexts(m_path); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.PathOf(L"test.log");
    ZorLog::LoggerImpl m_logger;
    long m_found = 0;
    PATCH_IMPORT(m_seek, _lseek, [this](int, long, int) { return m_found; });
    PATCH_IMPORT(m_write, _write, [this](int descriptor, const void* bytes, unsigned length) {
        return m_write.Original(descriptor, bytes, length) < 0 ? -1 : 1;
    });
};

}  // namespace

TEST_F(LogLimit, IsNotPassedByAFileOfExactlyTheLimit) {
    Open(kLimit - 2);
    EXPECT_TRUE(m_logger.IsEnabled(1));
    EXPECT_EQ(Lines(), Texts({"-------log start", "first"}));
}

TEST_F(LogLimit, IsPassedByOneByteMoreWhichAddsTheFullMarkerAndSilencesTheLog) {
    Open(kLimit - 2);
    m_logger.Write(L"second");
    EXPECT_EQ(Lines(), Texts({"-------log start", "first", "second", "-------log full"}));
    EXPECT_FALSE(m_logger.IsEnabled(1));
    EXPECT_FALSE(m_logger.IsEnabled(2));
    EXPECT_TRUE(m_logger.IsEnabled(3));
}

TEST_F(LogLimit, CountsWhatTheFileHeldBefore) {
    Open(kLimit - 1);
    EXPECT_EQ(Lines(), Texts({"-------log start", "first", "-------log full"}));
}

TEST_F(LogLimit, LetsTheMarkersOfTheLevelDropThrough) {
    Open(kLimit);
    m_logger.SetLevel(3);
    m_logger.SetLevel(3);
    EXPECT_EQ(Lines(), Texts({"-------log start", "first", "-------log full", "-------log off",
                              "-------log off"}));
}

TEST_F(LogLimit, SilencesALogWithTheMarkerFileForGood) {
    WriteFileBytes(m_path + L".on", "");
    Open(kLimit);
    EXPECT_FALSE(m_logger.IsEnabled(1));
    m_logger.SetLevel(1);
    EXPECT_FALSE(m_logger.IsEnabled(1));
    EXPECT_EQ(Lines(), Texts({"-------log start", "first", "-------log full"}));
}

TEST_F(LogLimit, EndsWithALaterLevelAndIsFoundPassedAgain) {
    Open(kLimit);
    m_logger.SetLevel(1);
    EXPECT_TRUE(m_logger.IsEnabled(1));
    m_logger.Write(L"again");
    EXPECT_FALSE(m_logger.IsEnabled(1));
    EXPECT_EQ(Lines(), Texts({"-------log start", "first", "-------log full",
                              "-------log lev change", "again", "-------log full"}));
}

TEST_F(LogLimit, IsNotLookedAtByTheMarkersOfALevel) {
    m_found = kLimit;
    m_logger.Init(m_path.c_str(), L"E");
    m_logger.SetLevel(1);
    EXPECT_TRUE(m_logger.IsEnabled(1));
    EXPECT_EQ(Lines(), Texts({"-------log start", "-------log lev change"}));
}

TEST_F(LogLimit, IsNeverPassedByANegativeSize) {
    Open(-100);
    for (int message = 0; message < 10; ++message) {
        m_logger.Write(L"message");
    }
    EXPECT_TRUE(m_logger.IsEnabled(1));
    EXPECT_EQ(Lines().back(), "message");
}

TEST_F(LogLimit, WaitsForANeighbourBeforeTheFullMarker) {
    Open(kLimit - 2);
    // Writing the message succeeds, writing the marker fails.
    int tries = 0;
    const CMutexWaits waits(
        [&](HANDLE, DWORD) -> DWORD { return ++tries == 2 ? WAIT_TIMEOUT : WAIT_OBJECT_0; });
    m_logger.Write(L"second");
    EXPECT_EQ(waits.TimeoutsMs(), std::vector<DWORD>({0, 0, INFINITE}));
    EXPECT_EQ(Lines().back(), "-------log full");
}

TEST_F(LogLimit, IsGoneAfterAReset) {
    Open(kLimit);
    m_logger.Reset();
    m_found = 0;
    m_logger.SetLevel(1);
    m_logger.Write(L"after");
    EXPECT_TRUE(m_logger.IsEnabled(1));
    EXPECT_EQ(Lines(), Texts({"-------log reset", "-------log lev change", "after"}));
}
