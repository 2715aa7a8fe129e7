#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "monitor/serve/httpserver.h"
#include "monitor/serve/network.h"
#include "monitor/serve/requestfacts.h"

namespace zorvane {

class CHttpConnection;

/** What a connection asks of the server; on the server's thread. */
class IConnectionOwner {
  public:
    virtual ~IConnectionOwner() = default;

    virtual Answer OnRequest(const RequestFacts& request) = 0;

    /** From now on the connection gets all events by Offer. */
    virtual void OnStream(const std::shared_ptr<CHttpConnection>& connection) = 0;

    /** The connection is closed; the last call about it. */
    virtual void OnClosed(const CHttpConnection& connection) = 0;

    /** Has the body made on another thread, and given to TakeBody then. False: too busy. */
    virtual bool MakeBody(const std::shared_ptr<CHttpConnection>& connection,
                          std::function<SharedText()> make) = 0;
};

/** One client, from its connection to its end. On the server's thread only. */
class CHttpConnection : public std::enable_shared_from_this<CHttpConnection> {
  public:
    /** `owner` outlives the connection. */
    CHttpConnection(Tcp::socket socket, IConnectionOwner& owner, const ServerLimits& limits);
    ~CHttpConnection();
    CHttpConnection(const CHttpConnection&) = delete;
    CHttpConnection& operator=(const CHttpConnection&) = delete;

    /** Reads requests and answers them. */
    void Start();

    /** Answers without a request, and closes. */
    void Refuse(unsigned status);

    /** What a stream sends next; one that does not keep up is closed. */
    void Offer(const SharedText& text);

    void TakeBody(SharedText body);

    /** Closes after what has been offered. */
    void Finish();

  private:
    void ReadHead();
    void OnHead(NetworkError error);
    void OnLateHead();
    RequestFacts Facts() const;
    void Send(Answer answer);
    void WriteHead();
    void WriteBody();
    void OnWritten(NetworkError error);
    void OnAnswered();
    void BeginStream();
    void WriteStream();
    void WatchForEnd();
    void Linger();
    void Drain();
    void Close();
    void StartTimer(std::chrono::milliseconds time);
    bool FillChunk();

    Tcp::socket m_socket;
    IConnectionOwner& m_owner;
    const ServerLimits m_limits;
    asio::steady_timer m_timer;
    boost::beast::flat_buffer m_buffer;
    std::optional<RequestParser> m_parser;
    std::optional<http::response<http::empty_body>> m_head;
    std::optional<http::response_serializer<http::empty_body>> m_serializer;
    Answer m_answer;
    // How much of the answer's body has been written: pieces, and bytes of the fixed body.
    size_t m_piecesWritten = 0;
    size_t m_fixedWritten = 0;
    std::string m_chunk;
    std::chrono::steady_clock::time_point m_answerEnd;
    std::deque<SharedText> m_offered;
    size_t m_offeredBytes = 0;
    bool m_isHead = false;
    bool m_keepAlive = false;
    bool m_timedOut = false;
    bool m_isFirst = true;
    bool m_isStream = false;
    bool m_isWriting = false;
    bool m_isFinishing = false;
    bool m_isClosed = false;
    size_t m_drained = 0;
};

}  // namespace zorvane
