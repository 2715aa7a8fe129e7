/** What the fuzzed sources name of Windows' sockets is the same here. */
#pragma once

#include <arpa/inet.h>
