#include "monitor/serve/requestfacts.h"

namespace zorvane {
namespace {

std::string Text(boost::string_view text) { return {text.data(), text.size()}; }

}  // namespace

RequestFacts FactsOf(const RequestParser& parser) {
    const auto& request = parser.get();
    RequestFacts facts;
    facts.method = Text(request.method_string());
    facts.target = Text(request.target());
    if (request.count(http::field::host) == 1) {
        facts.host = Text(request[http::field::host]);
    }
    facts.fetchSite = Text(request["Sec-Fetch-Site"]);
    facts.accept = Text(request[http::field::accept]);
    facts.lastEventId = Text(request["Last-Event-ID"]);
    facts.hasBody = parser.content_length().value_or(0) > 0 || parser.chunked();
    return facts;
}

unsigned StatusOf(const NetworkError& error) {
    constexpr unsigned kBadRequest = 400;
    constexpr unsigned kContentTooLarge = 413;
    constexpr unsigned kHeaderTooLarge = 431;
    constexpr unsigned kVersionNotSupported = 505;
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        return kHeaderTooLarge;
    }
    if (error == http::error::body_limit) {
        return kContentTooLarge;
    }
    if (error == http::error::bad_version) {
        return kVersionNotSupported;
    }
    return kBadRequest;
}

}  // namespace zorvane
