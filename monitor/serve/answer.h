/** What the server answers. */
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "monitor/serve/eventhistory.h"

namespace zorvane {

struct Answer {
    unsigned status = 200;
    std::string contentType;
    /** Beyond those that every answer has. */
    std::vector<std::pair<std::string, std::string>> headers;
    /** The body in pieces; of a stream, what comes before the live events. */
    std::vector<SharedText> body;
    /** Not kept in memory by the answer: a part of the program itself. */
    std::string_view fixedBody;
    /** Whether live events follow, until the connection ends. */
    bool isStream = false;
    /** The number of the last event in the body of a stream. */
    uint64_t streamedUpTo = 0;
    /** The body takes a while to make: the rest of the answer is that of this function, which may
     * run on any thread. */
    std::function<SharedText()> makeBody;
};

/** An answer with the status as its text, for people. */
Answer PlainAnswer(unsigned status, const std::string& text);

/** The refusal with this status, and what belongs to it. */
Answer RefusalAnswer(unsigned status);

/** Headers that every answer has: nothing may be read by another site's page, or run as script. */
const std::vector<std::pair<std::string, std::string>>& CommonHeaders();

}  // namespace zorvane
