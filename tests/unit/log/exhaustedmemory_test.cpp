// Logging while memory runs out: lines are lost, and nothing else happens.
#include <gtest/gtest.h>

#include "src/log/appender.h"
#include "src/log/logger.h"
#include "src/log/logsite.h"
#include "tests/support/allocationrecord.h"
#include "tests/support/testlog.h"
#include "tests/unit/log/loglines.h"

namespace {

constexpr char kLogSource[] = "tests\\exhaustedmemory_test.cpp";

// More allocations than any operation of the log makes.
constexpr size_t kManyAllocations = 100;

// What a test does: before memory runs out, while there is none, and afterwards.
class IAttempt {
  public:
    virtual ~IAttempt() = default;
    virtual void WithoutMemory() = 0;
    // `hasFailed`: whether an allocation failed.
    virtual void Afterwards(bool hasFailed) = 0;
};

// Attempts with the first allocation failing, the second, and so on until none has failed; once
// with that allocation alone, once with all later ones too.
template <typename Attempt>
void FailEachAllocation() {
    for (const bool isForGood : {false, true}) {
        bool hasFailed = true;
        for (size_t first = 0; hasFailed; ++first) {
            SCOPED_TRACE(std::to_string(first) + (isForGood ? " and all later ones" : " alone"));
            ASSERT_LT(first, kManyAllocations);
            Attempt attempt;
            {
                CAllocationRecord allocations({first, isForGood});
                attempt.WithoutMemory();
                allocations.StopCounting();
                hasFailed = CAllocationRecord::HasFailed();
            }
            attempt.Afterwards(hasFailed);
            ASSERT_TRUE(first > 0 || hasFailed) << "nothing was allocated at all";
        }
    }
}

}  // namespace

TEST(LogWithoutMemory, LosesTheLineOfALogSiteAndNoOther) {
    class CSite final : public IAttempt {
      public:
        CSite() { LOG_INFO(L"before"); }
        void WithoutMemory() override { LOG_INFO(L"%s %d", L"meanwhile", 7); }
        void Afterwards(bool hasFailed) override {
            LOG_INFO(L"after");
            std::vector<std::string> texts = LogTexts(m_log.Path());
            ASSERT_GE(texts.size(), 3u);
            EXPECT_EQ(texts.front(), "-------log start");
            EXPECT_TRUE(texts[1].ends_with("before")) << texts[1];
            EXPECT_TRUE(texts.back().ends_with("after")) << texts.back();
            if (texts.size() > 3 || !hasFailed) {
                ASSERT_EQ(texts.size(), 4u);
                EXPECT_TRUE(texts[2].ends_with("[exhaustedmemory_test] meanwhile 7")) << texts[2];
            }
        }

      private:
        CTestLog m_log;
    };
    FailEachAllocation<CSite>();
}

TEST(LogWithoutMemory, DoesWithoutALogThatCannotBeOpened) {
    class COpening final : public IAttempt {
      public:
        COpening() { ZorLog::ShutdownLogger(); }
        ~COpening() override {
            if (ZorLog::Logger* logger = ZorLog::GetLogger()) {
                logger->Close();
            }
            ZorLog::ShutdownLogger();
        }
        void WithoutMemory() override { ZorLog::InitLogger(m_path.c_str(), L"E"); }
        void Afterwards(bool hasFailed) override {
            LOG_INFO(L"line");
            ZorLog::SetLogLevel(ZorLog::kLevelOff);
            const std::vector<std::string> texts = LogTexts(m_path);
            if (!hasFailed) {
                ASSERT_EQ(texts.size(), 3u);
            }
            for (const std::string& text : texts) {
                EXPECT_FALSE(text.starts_with("torn")) << text;
            }
        }

      private:
        CTempFolder m_folder;
        const std::wstring m_path = m_folder.PathOf(L"test.log");
    };
    FailEachAllocation<COpening>();
}

TEST(LogWithoutMemory, LosesMarkersAndStillChangesTheLevel) {
    class CLevel final : public IAttempt {
      public:
        void WithoutMemory() override { ZorLog::SetLogLevel(ZorLog::kLevelOff); }
        void Afterwards(bool hasFailed) override {
            LOG_INFO(L"silent");
            const size_t lines = m_log.Lines().size();
            EXPECT_LE(lines, 2u);
            EXPECT_TRUE(hasFailed || lines == 2) << lines;
        }

      private:
        CTestLog m_log;
    };
    FailEachAllocation<CLevel>();
}

TEST(LogWithoutMemory, StartsTheFileAfreshWithoutItsFirstLine) {
    class CReset final : public IAttempt {
      public:
        CReset() { LOG_INFO(L"before"); }
        void WithoutMemory() override { ZorLog::GetLogger()->Reset(); }
        void Afterwards(bool hasFailed) override {
            LOG_INFO(L"after");
            const std::vector<std::string> texts = LogTexts(m_log.Path());
            ASSERT_FALSE(texts.empty());
            EXPECT_TRUE(texts.back().ends_with("after")) << texts.back();
            EXPECT_EQ(texts.size(), hasFailed ? 1u : 2u);
        }

      private:
        CTestLog m_log;
    };
    FailEachAllocation<CReset>();
}

TEST(LogWithoutMemory, DropsLinesForAFileThatCannotBeOpened) {
    class CUnopened final : public IAttempt {
      public:
        void WithoutMemory() override { m_size = m_appender.Flush(L"line", false); }
        void Afterwards(bool hasFailed) override {
            // No file, and one less for each line that was not written.
            EXPECT_TRUE(m_size == -2 || (hasFailed && m_size == -1)) << m_size;
        }

      private:
        CTempFolder m_folder;
        ZorLog::LogAppender m_appender{m_folder.PathOf(L"missing\\test.log").c_str(), L"E"};
        int m_size = 0;
    };
    FailEachAllocation<CUnopened>();
}
