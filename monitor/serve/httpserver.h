/** The HTTP server. */
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/callerror.h"
#include "monitor/serve/servedstate.h"

namespace zorvane {

struct ServerLimits {
    /** Connections at the same time; one more is answered with 503. */
    size_t connections = 64;
    /** Connections that are just being answered with 503; one more is closed at once. */
    size_t refusals = 64;
    /** Request line and header of a request, in bytes; more is answered with 431. */
    size_t headerBytes = 8192;
    /** For a request's header to come; a slower one is answered with 408. */
    std::chrono::milliseconds headerTime = std::chrono::seconds(10);
    /** For a client to take the next piece of an answer, before its connection is closed. */
    std::chrono::milliseconds pieceTime = std::chrono::seconds(10);
    /** For a client to take a whole answer. */
    std::chrono::milliseconds answerTime = std::chrono::minutes(2);
    /** Bytes that wait for a reader of the events; one that is further behind loses its connection
     * and can go on where it was with a new one. */
    size_t streamBytes = size_t{256} << 10;
    /** Reports being made or waiting to be made; one more is answered with 503. */
    size_t reports = 4;
};

struct ServerOptions {
    HostPolicy hosts;
    HistoryLimits history;
    DoctorQuestion doctor;
    ServerLimits limits;
};

/**
 * Serves on a thread of its own. The functions here return at once whatever the clients do; all of
 * them belong to the thread that made the object.
 */
class CHttpServer {
  public:
    explicit CHttpServer(ServerOptions options);
    ~CHttpServer();
    CHttpServer(const CHttpServer&) = delete;
    CHttpServer& operator=(const CHttpServer&) = delete;

    /** Takes the address and starts the thread; the error if the address is not to be had. */
    [[nodiscard]] std::optional<CallError> Start();

    /** The address with the port that it has got. */
    const ListenAddress& Address() const;

    /** `line` is the event's JSON line with its line feed. */
    void Publish(const Event& event, std::string line);

    void SetTexts(ServedTexts texts);

    /** Ends all streams in order, and the thread; within a second. */
    void Stop();

  private:
    struct Inner;
    std::unique_ptr<Inner> m_inner;
};

}  // namespace zorvane
