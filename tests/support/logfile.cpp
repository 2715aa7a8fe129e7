#include "tests/support/logfile.h"

#include <iomanip>
#include <sstream>

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", start)) {
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

std::vector<std::string> SiteMessages(const std::vector<std::string>& lines) {
    std::vector<std::string> messages;
    for (const std::string& line : lines) {
        // "...[E][I][  65][utility] text": the source follows the line number behind the level tag.
        const size_t level = line.find("[E][I][");
        if (level != std::string::npos) {
            messages.push_back(line.substr(line.find(']', level + 7) + 1));
        }
    }
    return messages;
}

std::string LoggedLine(uint32_t processId, const std::string& message) {
    std::ostringstream line;
    line << "11-16 00:10:05.123 [" << std::setw(5) << processId << "][ 4711][E]" << message
         << "\r\n";
    return line.str();
}
