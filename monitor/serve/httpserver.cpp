#include "monitor/serve/httpserver.h"

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

#include "monitor/moment.h"
#include "monitor/serve/httpconnection.h"
#include "monitor/serve/network.h"

namespace zorvane {
namespace {

// Another program must not be able to take the port over while this one has it.
using ExclusiveUse = asio::detail::socket_option::boolean<SOL_SOCKET, SO_EXCLUSIVEADDRUSE>;

constexpr std::chrono::seconds kBeatEvery{5};
constexpr std::chrono::milliseconds kAcceptAgain{100};
constexpr std::chrono::seconds kLongestStop{1};
constexpr unsigned kServiceUnavailable = 503;

SharedText Shared(const char* text) { return std::make_shared<const std::string>(text); }

// Tells the streams of one run from those of the next.
std::string NewRunId() { return std::to_string(ReadMoment().utc.time_since_epoch().count()); }

CallError Failed(const char* call, const ListenAddress& address, const NetworkError& error) {
    return {call + (" " + Authority(address)), static_cast<DWORD>(error.value())};
}

}  // namespace

// The context stands behind what its end, which destroys the connections, still uses.
struct CHttpServer::Inner final : IConnectionOwner {
    explicit Inner(ServerOptions given)
        : options(std::move(given)),
          acceptor(context),
          acceptAgain(context),
          beat(context),
          stopTimer(context) {}

    Answer OnRequest(const RequestFacts& request) override { return state->Respond(request); }

    void OnStream(const std::shared_ptr<CHttpConnection>& connection) override {
        streams.push_back(connection);
    }

    void OnClosed(const CHttpConnection& connection) override {
        std::erase(connections, &connection);
        std::erase(refusals, &connection);
        StopWhenAllAreGone();
    }

    bool MakeBody(const std::shared_ptr<CHttpConnection>& connection,
                  std::function<SharedText()> make) override {
        if (bodiesInWork >= options.limits.reports) {
            return false;
        }
        ++bodiesInWork;
        asio::post(makers, [this, connection, make = std::move(make)] {
            SharedText body = make();
            asio::post(context, [this, connection, body = std::move(body)]() mutable {
                --bodiesInWork;
                connection->TakeBody(std::move(body));
            });
        });
        return true;
    }

    void Accept();
    void OnAccept(NetworkError error, Tcp::socket socket);
    void Beat();
    void OfferToAll(const SharedText& text);
    void EndAll();
    void StopWhenAllAreGone();

    ServerOptions options;
    std::optional<CServedState> state;
    std::vector<CHttpConnection*> connections;
    std::vector<CHttpConnection*> refusals;
    std::vector<std::weak_ptr<CHttpConnection>> streams;
    size_t bodiesInWork = 0;
    // From Start to the end of the thread; whatever is destroyed later stops nothing.
    bool isServing = false;
    bool isEnding = false;
    std::thread thread;
    asio::io_context context;
    Tcp::acceptor acceptor;
    asio::steady_timer acceptAgain;
    asio::steady_timer beat;
    asio::steady_timer stopTimer;
    asio::thread_pool makers{1};
};

void CHttpServer::Inner::Accept() {
    acceptor.async_accept(
        [this](NetworkError error, Tcp::socket socket) { OnAccept(error, std::move(socket)); });
}

void CHttpServer::Inner::OnAccept(NetworkError error, Tcp::socket socket) {
    if (isEnding) {
        return;
    }
    if (error) {
        // The system has no more sockets for a moment, or the client has gone already.
        acceptAgain.expires_after(kAcceptAgain);
        acceptAgain.async_wait([this](NetworkError) {
            if (!isEnding) {
                Accept();
            }
        });
        return;
    }
    const bool isFull = connections.size() >= options.limits.connections;
    if (!isFull) {
        const auto connection =
            std::make_shared<CHttpConnection>(std::move(socket), *this, options.limits);
        connections.push_back(connection.get());
        connection->Start();
    } else if (refusals.size() < options.limits.refusals) {
        const auto connection =
            std::make_shared<CHttpConnection>(std::move(socket), *this, options.limits);
        refusals.push_back(connection.get());
        connection->Refuse(kServiceUnavailable);
    }
    Accept();
}

// Shows a reader that the connection lives while the worker has nothing to report.
void CHttpServer::Inner::Beat() {
    beat.expires_after(kBeatEvery);
    beat.async_wait([this](NetworkError error) {
        if (!error) {
            OfferToAll(Shared("event: beat\ndata: {}\n\n"));
            Beat();
        }
    });
}

void CHttpServer::Inner::OfferToAll(const SharedText& text) {
    std::erase_if(streams, [](const auto& stream) { return stream.expired(); });
    // A copy: a connection that is closed here does not change the list under the loop.
    const auto current = streams;
    for (const auto& stream : current) {
        if (const auto connection = stream.lock()) {
            connection->Offer(text);
        }
    }
}

void CHttpServer::Inner::EndAll() {
    isEnding = true;
    NetworkError ignored;
    acceptor.close(ignored);
    acceptAgain.cancel();
    beat.cancel();
    OfferToAll(Shared("event: end\ndata: {}\n\n"));
    for (CHttpConnection* connection : connections) {
        connection->Finish();
    }
    stopTimer.expires_after(kLongestStop);
    stopTimer.async_wait([this](NetworkError) { context.stop(); });
    StopWhenAllAreGone();
}

void CHttpServer::Inner::StopWhenAllAreGone() {
    if (isServing && isEnding && connections.empty() && refusals.empty()) {
        context.stop();
    }
}

CHttpServer::CHttpServer(ServerOptions options)
    : m_inner(std::make_unique<Inner>(std::move(options))) {}

CHttpServer::~CHttpServer() { Stop(); }

std::optional<CallError> CHttpServer::Start() {
    Inner& inner = *m_inner;
    ListenAddress& listen = inner.options.hosts.listen;
    NetworkError error;
    const Tcp::endpoint endpoint(asio::ip::make_address(listen.address, error), listen.port);
    if (error) {
        return Failed("inet_pton", listen, error);
    }
    inner.acceptor.open(endpoint.protocol(), error);
    if (error) {
        return Failed("socket", listen, error);
    }
    inner.acceptor.set_option(ExclusiveUse(true), error);
    if (error) {
        return Failed("setsockopt", listen, error);
    }
    inner.acceptor.bind(endpoint, error);
    if (error) {
        return Failed("bind", listen, error);
    }
    inner.acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (error) {
        return Failed("listen", listen, error);
    }
    listen.port = inner.acceptor.local_endpoint(error).port();
    // Made here: only now the port is known.
    inner.state.emplace(inner.options.hosts, inner.options.history, NewRunId(),
                        inner.options.doctor);
    inner.Accept();
    inner.Beat();
    inner.isServing = true;
    inner.thread = std::thread([&inner] { inner.context.run(); });
    return std::nullopt;
}

const ListenAddress& CHttpServer::Address() const { return m_inner->options.hosts.listen; }

void CHttpServer::Publish(const Event& event, std::string line) {
    asio::post(m_inner->context, [inner = m_inner.get(), event, line = std::move(line)]() mutable {
        inner->OfferToAll(inner->state->Add(event, std::move(line)));
    });
}

void CHttpServer::SetTexts(ServedTexts texts) {
    asio::post(m_inner->context, [inner = m_inner.get(), texts = std::move(texts)]() mutable {
        inner->state->SetTexts(std::move(texts));
    });
}

void CHttpServer::Stop() {
    if (!m_inner->thread.joinable()) {
        return;
    }
    asio::post(m_inner->context, [inner = m_inner.get()] { inner->EndAll(); });
    m_inner->thread.join();
    m_inner->isServing = false;
    m_inner->makers.join();
}

}  // namespace zorvane
