/** What Boost.Beast has read of a request. */
#pragma once

#include "monitor/serve/network.h"
#include "monitor/serve/requestcheck.h"

namespace zorvane {

using RequestParser = http::request_parser<http::empty_body>;

/** The facts of a request whose head has been read; all but the local address. */
RequestFacts FactsOf(const RequestParser& parser);

/** The status with which to refuse what could not be read as a request. */
unsigned StatusOf(const NetworkError& error);

}  // namespace zorvane
