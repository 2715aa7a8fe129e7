/** The options of the C interface. */
#pragma once

#include <optional>
#include <string>

#include "client/workerkeeper.h"
#include "zorvane/client.h"

namespace zorvane {

/** What a session of the C interface is made with. */
struct ClientOptions {
    KeeperOptions keeper;
    size_t queueLength = 1024;
    ZorvaneCallback callback = nullptr;
    void* context = nullptr;
};

/** A member of the options that makes no sense. */
struct OptionFault {
    std::string member;
    std::string text;
};

/**
 * Copies the options, with defaults for what is 0. Gives the first fault, if there is one. Reads no
 * further than `given.size` says, which may be that of an earlier version.
 */
std::optional<OptionFault> ReadOptions(const ZorvaneOptions& given, ClientOptions& options);

}  // namespace zorvane
