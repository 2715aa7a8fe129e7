#include "monitor/serve/listenaddress.h"

#include <fmt/format.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include <charconv>

namespace zorvane {
namespace {

constexpr char kIpv4Loopback[] = "127.0.0.1";

bool IsIpv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool IsIpv6(const std::string& text) {
    in6_addr address{};
    return inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

std::optional<uint16_t> ParsePort(std::string_view text) {
    uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, port);
    return error == std::errc{} && stop == end ? std::optional(port) : std::nullopt;
}

// The numeric address of what stands before the port; empty if it is none.
std::string NumericAddress(const std::string& host) {
    if (host == "localhost") {
        return kIpv4Loopback;
    }
    if (host.size() > 2 && host.front() == '[' && host.back() == ']') {
        const std::string inner = host.substr(1, host.size() - 2);
        return IsIpv6(inner) ? inner : "";
    }
    return IsIpv4(host) ? host : "";
}

}  // namespace

std::optional<ListenAddress> ParseListenAddress(std::string_view text) {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string address = NumericAddress(std::string(text.substr(0, colon)));
    const auto port = ParsePort(text.substr(colon + 1));
    if (address.empty() || !port) {
        return std::nullopt;
    }
    return ListenAddress{address, *port};
}

bool IsLoopback(const std::string& address) {
    in6_addr v6{};
    if (inet_pton(AF_INET6, address.c_str(), &v6) == 1) {
        return IN6_IS_ADDR_LOOPBACK(&v6);
    }
    in_addr v4{};
    constexpr unsigned kLoopbackNet = 127;
    return inet_pton(AF_INET, address.c_str(), &v4) == 1 && ntohl(v4.s_addr) >> 24 == kLoopbackNet;
}

std::string Authority(const ListenAddress& address) {
    const bool isIpv6 = address.address.find(':') != std::string::npos;
    return isIpv6 ? fmt::format("[{}]:{}", address.address, address.port)
                  : fmt::format("{}:{}", address.address, address.port);
}

}  // namespace zorvane
