#include "monitor/serve/answer.h"

#include <algorithm>
#include <memory>

namespace zorvane {
namespace {

struct RefusalText {
    unsigned status;
    const char* text;
};

constexpr RefusalText kRefusalTexts[] = {
    {400, "This is no request that the server understands."},
    {403, "Only this server's own page may ask for this."},
    {404, "There is nothing here. The page is at /."},
    {405, "Only GET and HEAD are answered."},
    {408, "The request did not come to its end in time."},
    {413, "A request has no body here."},
    {414, "The request's target is too long."},
    {421, "The Host header does not name this server; --allow-host allows a further name."},
    {431, "The request's header is too large."},
    {503, "Too many connections at once; try again later."},
    {505, "Only HTTP/1.1 and HTTP/1.0 are spoken here."},
};

}  // namespace

Answer PlainAnswer(unsigned status, const std::string& text) {
    Answer answer;
    answer.status = status;
    answer.contentType = "text/plain; charset=utf-8";
    answer.body.push_back(std::make_shared<const std::string>(text + "\n"));
    return answer;
}

Answer RefusalAnswer(unsigned status) {
    const auto* known =
        std::find_if(std::begin(kRefusalTexts), std::end(kRefusalTexts),
                     [&](const RefusalText& entry) { return entry.status == status; });
    Answer answer =
        PlainAnswer(status, known == std::end(kRefusalTexts) ? "Refused." : known->text);
    constexpr unsigned kMethodNotAllowed = 405;
    constexpr unsigned kUnavailable = 503;
    if (status == kMethodNotAllowed) {
        answer.headers.emplace_back("Allow", "GET, HEAD");
    }
    if (status == kUnavailable) {
        answer.headers.emplace_back("Retry-After", "5");
    }
    return answer;
}

const std::vector<std::pair<std::string, std::string>>& CommonHeaders() {
    static const std::vector<std::pair<std::string, std::string>> kHeaders = {
        {"Server", "zorvanemon"},
        {"Cache-Control", "no-store"},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
         "img-src 'self' data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    };
    return kHeaders;
}

}  // namespace zorvane
