#include "client/reasons/logline.h"

#include <algorithm>
#include <charconv>

namespace zorvane {
namespace {

constexpr std::string_view kRunStart = "-------log start";

// Reads from the front of a line. Nothing but the bytes that are there is relied on.
class CLineReader {
  public:
    explicit CLineReader(std::string_view rest) : m_rest(rest) {}

    std::string_view Rest() const { return m_rest; }

    bool Take(char expected) {
        if (m_rest.empty() || m_rest.front() != expected) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }

    // A number of exactly `digits` digits, in the range.
    std::optional<int> TakeDigits(size_t digits, int lowest, int highest) {
        const std::optional<uint32_t> number = Number(m_rest.substr(0, digits));
        if (!number || m_rest.size() < digits || static_cast<int>(*number) < lowest ||
            static_cast<int>(*number) > highest) {
            return std::nullopt;
        }
        m_rest.remove_prefix(digits);
        return static_cast<int>(*number);
    }

    // What stands in brackets.
    std::optional<std::string_view> TakeBracketed() {
        const size_t end = m_rest.find(']');
        if (m_rest.empty() || m_rest.front() != '[' || end == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view inside = m_rest.substr(1, end - 1);
        m_rest.remove_prefix(end + 1);
        return inside;
    }

    // A number in brackets, filled up with blanks on its left.
    std::optional<uint32_t> TakeBracketedNumber() {
        const CLineReader before = *this;
        std::optional<uint32_t> number;
        if (const std::optional<std::string_view> inside = TakeBracketed()) {
            number =
                Number(inside->substr(std::min(inside->find_first_not_of(' '), inside->size())));
        }
        if (!number) {
            *this = before;
        }
        return number;
    }

  private:
    static std::optional<uint32_t> Number(std::string_view digits) {
        uint32_t number = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, number);
        return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
    }

    std::string_view m_rest;
};

// "MM-DD hh:mm:ss.mmm "
std::optional<LogTime> TakeTime(CLineReader& reader) {
    struct Part {
        int LogTime::*field;
        size_t digits;
        int lowest;
        int highest;
        char end;
    };
    static constexpr Part kParts[] = {
        {&LogTime::month, 2, 1, 12, '-'},  {&LogTime::day, 2, 1, 31, ' '},
        {&LogTime::hour, 2, 0, 23, ':'},   {&LogTime::minute, 2, 0, 59, ':'},
        {&LogTime::second, 2, 0, 60, '.'}, {&LogTime::millisecond, 3, 0, 999, ' '},
    };
    LogTime time;
    for (const Part& part : kParts) {
        const std::optional<int> number = reader.TakeDigits(part.digits, part.lowest, part.highest);
        if (!number || !reader.Take(part.end)) {
            return std::nullopt;
        }
        time.*part.field = *number;
    }
    return time;
}

// "[I][  65][utility] "; a site without a name has "[I][  65] ".
void TakeSite(CLineReader& reader, LogLine& line) {
    const CLineReader before = reader;
    const std::optional<std::string_view> level = reader.TakeBracketed();
    const std::optional<uint32_t> siteLine = reader.TakeBracketedNumber();
    const std::string_view source = reader.TakeBracketed().value_or(std::string_view());
    if (!level || !siteLine || !reader.Take(' ')) {
        reader = before;
        return;
    }
    line.level = *level;
    line.siteLine = siteLine;
    line.source = source;
}

}  // namespace

std::optional<LogLine> ParseLogLine(std::string_view line) {
    if (!line.empty() && line.back() == '\n') {
        line.remove_suffix(1);
    }
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    CLineReader reader(line);
    const std::optional<LogTime> time = TakeTime(reader);
    if (!time) {
        return std::nullopt;
    }
    const std::optional<uint32_t> processId = reader.TakeBracketedNumber();
    const std::optional<uint32_t> threadId = reader.TakeBracketedNumber();
    const std::optional<std::string_view> tag = reader.TakeBracketed();
    if (!processId || !threadId || !tag) {
        return std::nullopt;
    }
    LogLine parsed;
    parsed.time = *time;
    parsed.processId = *processId;
    parsed.threadId = *threadId;
    parsed.tag = *tag;
    TakeSite(reader, parsed);
    parsed.message = reader.Rest();
    return parsed;
}

std::vector<LogLine> ParseLog(std::string_view log) {
    std::vector<LogLine> lines;
    for (size_t end = log.find('\n'); end != std::string_view::npos; end = log.find('\n')) {
        if (std::optional<LogLine> line = ParseLogLine(log.substr(0, end))) {
            lines.push_back(std::move(*line));
        }
        log.remove_prefix(end + 1);
    }
    return lines;
}

bool IsRunStart(const LogLine& line) { return line.level.empty() && line.message == kRunStart; }

std::vector<LogLine> LatestRun(const std::vector<LogLine>& lines, uint32_t processId) {
    std::vector<LogLine> run;
    for (const LogLine& line : lines) {
        if (line.processId != processId) {
            continue;
        }
        if (IsRunStart(line)) {
            run.clear();
        }
        run.push_back(line);
    }
    return run;
}

}  // namespace zorvane
