// What a client sends to the server of zorvanemon, in two pieces; the first byte tells where the
// second one begins.
#include <algorithm>
#include <string>

#include "monitor/serve/requestfacts.h"
#include "monitor/serve/route.h"
#include "tests/campaigns/fuzz/require.h"

namespace {

constexpr uint32_t kHeaderBytes = 8192;
constexpr size_t kLongestTarget = 1024;

const zorvane::HostPolicy kPolicy{{"127.0.0.1", 9836}, {"lab"}};

bool IsOneOf(unsigned status, std::initializer_list<unsigned> known) {
    return std::find(known.begin(), known.end(), status) != known.end();
}

void CheckRoute(const zorvane::RouteOrStatus& route) {
    if (const auto* status = std::get_if<unsigned>(&route)) {
        Require(IsOneOf(*status, {400, 404}), "a path is unknown or its query is");
        return;
    }
    const auto& known = std::get<zorvane::Route>(route);
    Require(!known.seconds || known.seconds->count() >= 0, "no time is negative");
}

void CheckRequest(const zorvane::RequestParser& parser) {
    zorvane::RequestFacts facts = zorvane::FactsOf(parser);
    facts.localAddress = "127.0.0.1";
    CheckRoute(zorvane::ParseTarget(facts.target));
    if (const auto status = zorvane::Refusal(facts, kPolicy)) {
        Require(IsOneOf(*status, {400, 403, 405, 413, 414, 421}), "a refusal has its status");
        return;
    }
    Require(facts.host.has_value(), "a request that is answered names its host");
    Require(facts.method == "GET" || facts.method == "HEAD", "nothing but reading is answered");
    Require(facts.target.size() <= kLongestTarget, "no long target is answered");
    Require(!facts.hasBody, "no body is taken");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    // A copy of just this size: a byte read behind it is seen.
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    zorvane::RequestParser parser;
    parser.header_limit(kHeaderBytes);
    size_t taken = 0;
    for (const size_t arrived : {std::min<size_t>(data[0], bytes.size()), bytes.size()}) {
        const std::string unread = bytes.substr(taken, arrived - taken);
        zorvane::NetworkError error;
        taken += parser.put(zorvane::asio::buffer(unread), error);
        if (parser.is_header_done()) {
            CheckRequest(parser);
            return 0;
        }
        if (error && error != zorvane::http::error::need_more) {
            Require(IsOneOf(zorvane::StatusOf(error), {400, 413, 431, 505}),
                    "what is no request has its status");
            return 0;
        }
    }
    return 0;
}
