/** Which requests the server answers. */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "monitor/serve/listenaddress.h"

namespace zorvane {

/** What of a request decides whether it is answered. Texts are as sent. */
struct RequestFacts {
    std::string method;
    std::string target;
    /** Empty: the request has no Host, or more than one. */
    std::optional<std::string> host;
    /** Sec-Fetch-Site, which browsers set and web pages cannot; empty without one. */
    std::string fetchSite;
    /** Accept, which chooses the form of /metrics. */
    std::string accept;
    /** Last-Event-ID, with which a stream is gone on with. */
    std::string lastEventId;
    bool hasBody = false;
    /** The numeric address on which the connection arrived. */
    std::string localAddress;
};

/** Names under which the server may be asked. */
struct HostPolicy {
    ListenAddress listen;
    /** Further names, which count with any port: a name in front of a proxy has another one. */
    std::vector<std::string> allowed;
};

/**
 * Whether the Host header names this server. A web page elsewhere can make its own name lead to
 * 127.0.0.1 and read what it gets from there as its own; the Host header then has that name.
 */
bool IsHostAllowed(const std::string& host, const std::string& localAddress,
                   const HostPolicy& policy);

/** The status with which to refuse the request; empty: it is to be answered. */
std::optional<unsigned> Refusal(const RequestFacts& request, const HostPolicy& policy);

}  // namespace zorvane
