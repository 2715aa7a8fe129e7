/** Boost.Beast, as this compiler takes it: for httpserver.cpp and httpconnection.cpp only. */
#pragma once

// Windows' sockets before Windows itself.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/write.hpp>

namespace zorvane {

namespace asio = boost::asio;
namespace http = boost::beast::http;  // NOLINT(misc-unused-alias-decls)
using NetworkError = boost::system::error_code;
using Tcp = asio::ip::tcp;

}  // namespace zorvane
