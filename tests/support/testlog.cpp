#include "support/testlog.h"

#include "log/logger.h"

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

std::vector<std::string> CTestLog::Lines() const {
    const std::string bytes = ReadFileBytes(Path());
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = bytes.find("\r\n"); end != std::string::npos;
         end = bytes.find("\r\n", start)) {
        lines.push_back(bytes.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

std::vector<std::string> CTestLog::Messages() const {
    std::vector<std::string> messages;
    for (const std::string& line : Lines()) {
        // "...[E][I][  65][utility] text": the source follows the line number behind the level tag.
        const size_t level = line.find("[E][I][");
        if (level != std::string::npos) {
            messages.push_back(line.substr(line.find(']', level + 7) + 1));
        }
    }
    return messages;
}
