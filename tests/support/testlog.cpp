#include "support/testlog.h"

#include "log/logger.h"
#include "support/logfile.h"

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
