#include "monitor/serve/requestcheck.h"

#include <algorithm>

#include "monitor/options/values.h"

namespace zorvane {
namespace {

constexpr size_t kLongestTarget = 1024;

// The text without a port behind it.
std::string NameOf(const std::string& host) {
    const size_t colon = host.rfind(':');
    const bool isInBrackets = host.ends_with(']');
    return colon == std::string::npos || isInBrackets ? host : host.substr(0, colon);
}

}  // namespace

bool IsHostAllowed(const std::string& host, const std::string& localAddress,
                   const HostPolicy& policy) {
    const std::string lower = LowerAscii(host);
    for (const std::string& own : {policy.listen.address, localAddress}) {
        if (lower == LowerAscii(Authority({own, policy.listen.port}))) {
            return true;
        }
    }
    if (lower == Authority({"localhost", policy.listen.port})) {
        return true;
    }
    const std::string name = NameOf(lower);
    return std::any_of(policy.allowed.begin(), policy.allowed.end(),
                       [&](const std::string& allowed) { return LowerAscii(allowed) == name; });
}

std::optional<unsigned> Refusal(const RequestFacts& request, const HostPolicy& policy) {
    constexpr unsigned kBadRequest = 400;
    constexpr unsigned kForbidden = 403;
    constexpr unsigned kMethodNotAllowed = 405;
    constexpr unsigned kContentTooLarge = 413;
    constexpr unsigned kTargetTooLong = 414;
    constexpr unsigned kMisdirected = 421;
    if (!request.host) {
        return kBadRequest;
    }
    if (!IsHostAllowed(*request.host, request.localAddress, policy)) {
        return kMisdirected;
    }
    if (request.method != "GET" && request.method != "HEAD") {
        return kMethodNotAllowed;
    }
    if (request.hasBody) {
        return kContentTooLarge;
    }
    if (request.target.size() > kLongestTarget) {
        return kTargetTooLong;
    }
    // A link to the page may stand anywhere; its data are asked for by the page itself.
    const bool isForeign = request.fetchSite == "cross-site" || request.fetchSite == "same-site";
    if (isForeign && request.target != "/") {
        return kForbidden;
    }
    return std::nullopt;
}

}  // namespace zorvane
