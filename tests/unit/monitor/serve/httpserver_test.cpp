// The server as its clients meet it, over real connections.
#include "monitor/serve/httpserver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include <optional>

#include "base/handle.h"
#include "monitor/serve/serveview.h"
#include "tests/support/importpatch.h"
#include "tests/unit/monitor/readings.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace zorvane {
namespace {

constexpr DWORD kPatienceMs = 30000;

// A client that can misbehave.
class CClient {
  public:
    explicit CClient(uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const DWORD patience = kPatienceMs;
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&patience),
                   sizeof(patience));
        if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
            ADD_FAILURE() << "connect: " << WSAGetLastError();
        }
    }
    ~CClient() { closesocket(m_socket); }
    CClient(const CClient&) = delete;
    CClient& operator=(const CClient&) = delete;

    void Send(const std::string& text) const {
        send(m_socket, text.data(), static_cast<int>(text.size()), 0);
    }

    void Ask(uint16_t port, const std::string& target, const std::string& more = "") const {
        Send("GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" +
             more + "\r\n");
    }

    // Until the text has come; all that came so far.
    std::string ReceiveUntil(const std::string& end) {
        while (m_received.find(end) == std::string::npos && ReceiveMore()) {
        }
        return m_received;
    }

    // Until the other side closes.
    std::string ReceiveAll() {
        while (ReceiveMore()) {
        }
        return m_received;
    }

    void Forget() { m_received.clear(); }

    bool IsClosed() const { return m_isClosed; }

  private:
    bool ReceiveMore() {
        char buffer[65536];
        const int count = recv(m_socket, buffer, sizeof(buffer), 0);
        if (count > 0) {
            m_received.append(buffer, static_cast<size_t>(count));
            return true;
        }
        m_isClosed = count == 0 || WSAGetLastError() != WSAETIMEDOUT;
        return false;
    }

    const SOCKET m_socket;
    std::string m_received;
    bool m_isClosed = false;
};

class HttpServerTest : public testing::Test {
  protected:
    void StartServer(const ServerLimits& limits = {}) {
        ServerOptions options;
        options.hosts.listen = {"127.0.0.1", 0};
        options.limits = limits;
        m_server.emplace(options);
        const auto error = m_server->Start();
        ASSERT_FALSE(error) << Describe(*error);
    }

    uint16_t Port() const { return m_server->Address().port; }

    std::string Get(const std::string& target) const {
        CClient client(Port());
        client.Ask(Port(), target, "Connection: close\r\n");
        return client.ReceiveAll();
    }

    std::optional<CHttpServer> m_server;
};

TEST_F(HttpServerTest, AnswersWithItsHeadersOfCaution) {
    StartServer();
    const std::string answer = Get("/");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer,
                HasSubstr("Content-Security-Policy: default-src 'none'; script-src 'self'"));
    EXPECT_THAT(answer, HasSubstr("X-Content-Type-Options: nosniff\r\n"));
    EXPECT_THAT(answer, HasSubstr("Cross-Origin-Resource-Policy: same-origin\r\n"));
    EXPECT_THAT(answer, Not(HasSubstr("Access-Control-Allow-Origin")));
    EXPECT_THAT(answer, testing::EndsWith("</html>\n"));
}

TEST_F(HttpServerTest, KeepsAConnectionForTheNextRequest) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/nothing");
    client.ReceiveUntil("The page is at /.\n");
    client.Ask(Port(), "/healthz", "Connection: close\r\n");
    EXPECT_THAT(client.ReceiveAll(), HasSubstr("HTTP/1.1 503 "));
}

TEST_F(HttpServerTest, GivesTheHeadOnlyWhereOnlyThatIsAskedFor) {
    StartServer();
    CClient client(Port());
    client.Send("HEAD / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(Port()) +
                "\r\nConnection: close\r\n\r\n");
    const std::string answer = client.ReceiveAll();
    EXPECT_THAT(answer, HasSubstr("Content-Length: "));
    EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n"));
}

TEST_F(HttpServerTest, SaysThatAPortIsInUse) {
    StartServer();
    ServerOptions options;
    options.hosts.listen = {"127.0.0.1", Port()};
    CHttpServer second(options);
    const auto error = second.Start();
    ASSERT_TRUE(error);
    EXPECT_THAT(error->call, HasSubstr("127.0.0.1:" + std::to_string(Port())));
}

TEST_F(HttpServerTest, SaysThatAnAddressIsNotThisComputers) {
    ServerOptions options;
    options.hosts.listen = {"192.0.2.1", 0};
    CHttpServer server(options);
    EXPECT_TRUE(server.Start());
}

TEST_F(HttpServerTest, StreamsWhatHappens) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/events");
    client.ReceiveUntil("retry: ");
    m_server->Publish(EventAt(0, CpuTemperature{50}), "{\"a\":1}\n");
    EXPECT_THAT(client.ReceiveUntil("\n\nid"), HasSubstr("text/event-stream"));
    EXPECT_THAT(client.ReceiveUntil("{\"a\":1}\n\n"), HasSubstr("data: {\"a\":1}\n\n"));
}

TEST_F(HttpServerTest, StreamsOnBehindTheEventThatTheReaderHasHad) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/events");
    client.ReceiveUntil("retry: ");
    m_server->Publish(EventAt(0, CpuTemperature{50}), "{\"a\":1}\n");
    m_server->Publish(EventAt(1, CpuTemperature{51}), "{\"b\":2}\n");
    const std::string first = client.ReceiveUntil("{\"b\":2}\n\n");
    const size_t id = first.find("id: ") + 4;
    const std::string had = first.substr(id, first.find('\n', id) - id);
    CClient again(Port());
    again.Ask(Port(), "/events", "Last-Event-ID: " + had + "\r\n");
    const std::string rest = again.ReceiveUntil("}\n\n");
    EXPECT_THAT(rest, HasSubstr("{\"b\":2}"));
    EXPECT_THAT(rest, Not(HasSubstr("{\"a\":1}")));
}

TEST_F(HttpServerTest, EndsItsStreamsInOrder) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/events");
    client.ReceiveUntil("retry: ");
    m_server->Publish(EventAt(0, CpuTemperature{50}), "{\"last\":1}\n");
    m_server->Stop();
    EXPECT_THAT(client.ReceiveAll(), testing::EndsWith("{\"last\":1}\n\nevent: end\ndata: {}\n\n"));
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(HttpServerTest, LeavesAReaderBehindThatReadsNothing) {
    StartServer();
    CClient lazy(Port());
    CClient eager(Port());
    for (CClient* client : {&lazy, &eager}) {
        client->Ask(Port(), "/events");
        client->ReceiveUntil("retry: ");
    }
    constexpr int kEvents = 400;
    constexpr size_t kBytes = 100000;
    for (int i = 0; i < kEvents; ++i) {
        const std::string mark = "<" + std::to_string(i) + ">";
        m_server->Publish(EventAt(i, CpuTemperature{50}), std::string(kBytes, 'x') + mark + "\n");
        eager.Forget();
        eager.ReceiveUntil(mark);
    }
    EXPECT_FALSE(eager.IsClosed());
    const std::string received = lazy.ReceiveAll();
    EXPECT_TRUE(lazy.IsClosed());
    EXPECT_LT(received.size(), kEvents * kBytes);
}

TEST_F(HttpServerTest, RefusesLateRequests) {
    ServerLimits limits;
    limits.headerTime = std::chrono::milliseconds(200);
    StartServer(limits);
    CClient half(Port());
    half.Send("GET / HTTP/1.1\r\nHost: 127.0");
    CClient silent(Port());
    EXPECT_THAT(half.ReceiveAll(), StartsWith("HTTP/1.1 408 "));
    EXPECT_THAT(silent.ReceiveAll(), StartsWith("HTTP/1.1 408 "));
}

TEST_F(HttpServerTest, ClosesAConnectionThatRestsWithoutAWordAndRefusesHalfASecondRequest) {
    ServerLimits limits;
    // Long enough for a busy computer to send the first one.
    limits.headerTime = std::chrono::seconds(3);
    StartServer(limits);
    CClient resting(Port());
    CClient half(Port());
    for (CClient* client : {&resting, &half}) {
        client->Send("HEAD / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(Port()) + "\r\n\r\n");
        EXPECT_THAT(client->ReceiveUntil("\r\n\r\n"), StartsWith("HTTP/1.1 200 "));
        client->Forget();
    }
    half.Send("HEAD / HT");
    EXPECT_EQ(resting.ReceiveAll(), "");
    EXPECT_TRUE(resting.IsClosed());
    EXPECT_THAT(half.ReceiveAll(), StartsWith("HTTP/1.1 408 "));
}

TEST_F(HttpServerTest, RefusesHeadersThatAreTooLarge) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/", "X: " + std::string(1000000, 'x') + "\r\n");
    EXPECT_THAT(client.ReceiveAll(), StartsWith("HTTP/1.1 431 "));
}

TEST_F(HttpServerTest, RefusesWhatIsNoRequest) {
    StartServer();
    const std::pair<const char*, const char*> cases[] = {
        {"nonsense\r\n\r\n", "HTTP/1.1 400 "},
        {"GET / HTTP/9.9\r\nHost: a\r\n\r\n", "HTTP/1.1 505 "},
        {"GET / HTTP/1.1\r\n\r\n", "HTTP/1.1 400 "},
        {"GET / HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n", "HTTP/1.1 400 "},
        {"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", "HTTP/1.1 421 "},
        {"\x16\x03\x01\x02\x01\x01\r\n\r\n", "HTTP/1.1 400 "},
    };
    for (const auto& [request, answer] : cases) {
        CClient client(Port());
        client.Send(request);
        EXPECT_THAT(client.ReceiveAll(), StartsWith(answer)) << request;
    }
}

TEST_F(HttpServerTest, RefusesBodies) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/", "Content-Length: 5\r\n");
    client.Send("12345");
    EXPECT_THAT(client.ReceiveAll(), StartsWith("HTTP/1.1 413 "));
    CClient large(Port());
    large.Ask(Port(), "/", "Content-Length: 99999999999\r\n");
    EXPECT_THAT(large.ReceiveAll(), StartsWith("HTTP/1.1 413 "));
}

TEST_F(HttpServerTest, TakesNoMoreConnectionsThanItsLimit) {
    ServerLimits limits;
    limits.connections = 2;
    limits.refusals = 1;
    StartServer(limits);
    std::optional<CClient> first(std::in_place, Port());
    std::optional<CClient> second(std::in_place, Port());
    for (auto* client : {&first, &second}) {
        (*client)->Ask(Port(), "/events");
        (*client)->ReceiveUntil("retry: ");
    }
    CClient third(Port());
    EXPECT_THAT(third.ReceiveUntil("later.\n"), StartsWith("HTTP/1.1 503 "));
    CClient fourth(Port());
    EXPECT_EQ(fourth.ReceiveAll(), "");
    EXPECT_TRUE(fourth.IsClosed());
    first.reset();
    // The server learns of that by and by.
    std::string answer;
    for (int i = 0; i < 1000 && answer.find(" 404 ") == std::string::npos; ++i) {
        answer = Get("/nothing");
    }
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 404 "));
}

TEST_F(HttpServerTest, MakesReports) {
    StartServer();
    EXPECT_THAT(Get("/report.html?mask=1"), HasSubstr("\"masked\":true"));
}

TEST_F(HttpServerTest, MakesNoMoreReportsAtOnceThanItsLimit) {
    const CUniqueHandle begun(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    const CUniqueHandle end(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ServerOptions options;
    options.hosts.listen = {"127.0.0.1", 0};
    options.limits.reports = 1;
    options.doctor = [&] {
        SetEvent(begun.get());
        WaitForSingleObject(end.get(), kPatienceMs);
        return std::string();
    };
    m_server.emplace(options);
    ASSERT_FALSE(m_server->Start());
    CClient first(Port());
    first.Ask(Port(), "/report.html", "Connection: close\r\n");
    ASSERT_EQ(WaitForSingleObject(begun.get(), kPatienceMs), WAIT_OBJECT_0);
    EXPECT_THAT(Get("/report.html"), StartsWith("HTTP/1.1 503 "));
    SetEvent(end.get());
    EXPECT_THAT(first.ReceiveAll(), StartsWith("HTTP/1.1 200 OK"));
    EXPECT_THAT(Get("/report.html"), StartsWith("HTTP/1.1 200 OK"));
}

TEST_F(HttpServerTest, GivesTheHeadOfAStreamOrReportWithoutMakingIt) {
    StartServer();
    for (const char* target : {"/events", "/report.html"}) {
        CClient client(Port());
        client.Send(std::string("HEAD ") + target + " HTTP/1.1\r\nHost: 127.0.0.1:" +
                    std::to_string(Port()) + "\r\nConnection: close\r\n\r\n");
        const std::string answer = client.ReceiveAll();
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK")) << target;
        EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n")) << target;
    }
}

TEST_F(HttpServerTest, ReadsOnAfterWhatTheReaderOfAStreamSays) {
    StartServer();
    CClient client(Port());
    client.Ask(Port(), "/events");
    client.ReceiveUntil("retry: ");
    client.Send("nobody listens to this");
    m_server->Publish(EventAt(1, CpuTemperature{47}), "{\"n\":1}\n");
    EXPECT_THAT(client.ReceiveUntil("{\"n\":1}"), HasSubstr("data: {\"n\":1}"));
}

TEST(HttpServerStart, NamesTheAddressThatIsNone) {
    ServerOptions options;
    options.hosts.listen = {"no address", 1};
    const auto error = CHttpServer(options).Start();
    ASSERT_TRUE(error);
    EXPECT_THAT(error->call, StartsWith("inet_pton no address"));
}

TEST(HttpServerStart, NamesTheCallThatFails) {
    ServerOptions options;
    options.hosts.listen = {"127.0.0.1", 0};
    const auto call = [&] {
        const auto error = CHttpServer(options).Start();
        return error ? error->call : "";
    };
    const auto failing = [](auto...) -> int {
        WSASetLastError(WSAENOBUFS);
        return SOCKET_ERROR;
    };
    {
        PATCH_IMPORT(option, setsockopt, failing);
        EXPECT_THAT(call(), StartsWith("setsockopt 127.0.0.1:"));
    }
    {
        PATCH_IMPORT(wait, listen, failing);
        EXPECT_THAT(call(), StartsWith("listen 127.0.0.1:"));
    }
    PATCH_IMPORT(open, WSASocketW, [](auto...) -> SOCKET {
        WSASetLastError(WSAENOBUFS);
        return INVALID_SOCKET;
    });
    EXPECT_THAT(call(), StartsWith("socket 127.0.0.1:"));
}

TEST_F(HttpServerTest, HandsOutWhatItsViewIsTold) {
    StartServer();
    CServeView view(*m_server);
    CMachineModel model;
    model.Apply(EventAt(0, WorkerStartEvent{1}));
    const Event reading = EventAt(1, FullReading());
    model.Apply(reading);
    view.OnEvent(reading, model);
    view.OnChange(model);
    EXPECT_THAT(Get("/history"), HasSubstr(R"("type":"gpu")"));
    EXPECT_THAT(Get("/metrics"), HasSubstr("zorvane_gpu_temperature_celsius{"));
    EXPECT_THAT(Get("/healthz"), HasSubstr("200 OK"));
    const Event end = EventAt(2, ExitEvent());
    model.Apply(end);
    view.OnEvent(end, model);
    view.OnChange(model);
    EXPECT_THAT(Get("/healthz"), HasSubstr("503 Service Unavailable"));
    CClient reader(Port());
    reader.Ask(Port(), "/events");
    reader.ReceiveUntil("retry: ");
    view.OnEnd(model);
    EXPECT_THAT(reader.ReceiveAll(), HasSubstr("event: end"));
}

}  // namespace
}  // namespace zorvane
