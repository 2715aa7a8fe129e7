/** Where the server listens. */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zorvane {

struct ListenAddress {
    /** A numeric address, without the brackets of IPv6: "127.0.0.1", "::1". */
    std::string address;
    /** 0: any free one. */
    uint16_t port = 0;
};

/** Parses "127.0.0.1:9836", "[::1]:9836" and "localhost:9836"; empty for anything else. */
std::optional<ListenAddress> ParseListenAddress(std::string_view text);

/** Whether only this computer reaches the address. */
bool IsLoopback(const std::string& address);

/** The address as it stands in a URL: IPv6 in brackets, the port behind a colon. */
std::string Authority(const ListenAddress& address);

}  // namespace zorvane
