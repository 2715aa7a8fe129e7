#include "tests/support/testlog.h"

#include "src/log/logger.h"
#include "tests/support/logfile.h"

CTestLog::CTestLog() {
    ZorLog::ShutdownLogger();
    ZorLog::InitLogger(Path().c_str(), L"E");
}

CTestLog::~CTestLog() {
    if (ZorLog::Logger* logger = ZorLog::GetLogger()) {
        logger->Close();
    }
    ZorLog::ShutdownLogger();
}

std::vector<std::string> CTestLog::Lines() const { return SplitLines(ReadFileBytes(Path())); }

std::vector<std::string> CTestLog::Messages() const { return SiteMessages(Lines()); }
