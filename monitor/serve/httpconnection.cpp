#include "monitor/serve/httpconnection.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace zorvane {
namespace {

constexpr unsigned kTimeout = 408;
constexpr unsigned kUnavailable = 503;

size_t BodySize(const Answer& answer) {
    return std::accumulate(answer.body.begin(), answer.body.end(), answer.fixedBody.size(),
                           [](size_t sum, const SharedText& piece) { return sum + piece->size(); });
}

}  // namespace

CHttpConnection::CHttpConnection(Tcp::socket socket, IConnectionOwner& owner,
                                 const ServerLimits& limits)
    : m_socket(std::move(socket)),
      m_owner(owner),
      m_limits(limits),
      m_timer(m_socket.get_executor()),
      m_buffer(2 * limits.headerBytes) {}

CHttpConnection::~CHttpConnection() { m_owner.OnClosed(*this); }

void CHttpConnection::Start() { ReadHead(); }

void CHttpConnection::Refuse(unsigned status) { Send(RefusalAnswer(status)); }

void CHttpConnection::StartTimer(std::chrono::milliseconds time) {
    m_timer.expires_after(time);
    m_timer.async_wait([self = weak_from_this()](NetworkError error) {
        const auto connection = self.lock();
        if (error || !connection) {
            return;
        }
        connection->m_timedOut = true;
        NetworkError ignored;
        connection->m_socket.cancel(ignored);
    });
}

void CHttpConnection::ReadHead() {
    if (m_isFinishing) {
        Close();
        return;
    }
    m_timedOut = false;
    m_parser.emplace();
    m_parser->header_limit(static_cast<uint32_t>(m_limits.headerBytes));
    StartTimer(m_limits.headerTime);
    http::async_read_header(
        m_socket, m_buffer, *m_parser,
        [self = shared_from_this()](NetworkError error, size_t) { self->OnHead(error); });
}

void CHttpConnection::OnHead(NetworkError error) {
    m_timer.cancel();
    if (m_isClosed) {
        return;
    }
    if (error && m_timedOut) {
        OnLateHead();
        return;
    }
    if (error == http::error::end_of_stream || error == http::error::partial_message ||
        (error && error.category() != http::make_error_code(http::error::bad_method).category())) {
        Close();
        return;
    }
    m_isFirst = false;
    if (error) {
        Refuse(StatusOf(error));
        return;
    }
    const RequestFacts request = Facts();
    m_isHead = request.method == "HEAD";
    m_keepAlive = m_parser->get().keep_alive() && !request.hasBody;
    Answer answer = m_owner.OnRequest(request);
    if (!answer.makeBody || m_isHead) {
        Send(std::move(answer));
        return;
    }
    m_answer = std::move(answer);
    if (!m_owner.MakeBody(shared_from_this(), std::exchange(m_answer.makeBody, nullptr))) {
        m_keepAlive = false;
        Refuse(kUnavailable);
    }
}

// A connection that rests between two requests is not late.
void CHttpConnection::OnLateHead() {
    if (m_isFirst || m_buffer.size() > 0 || m_parser->got_some()) {
        m_keepAlive = false;
        Refuse(kTimeout);
        return;
    }
    Close();
}

void CHttpConnection::TakeBody(SharedText body) {
    if (m_isClosed) {
        return;
    }
    m_answer.body.push_back(std::move(body));
    Send(std::exchange(m_answer, Answer()));
}

RequestFacts CHttpConnection::Facts() const {
    RequestFacts facts = FactsOf(*m_parser);
    NetworkError ignored;
    facts.localAddress = m_socket.local_endpoint(ignored).address().to_string(ignored);
    return facts;
}

void CHttpConnection::Send(Answer answer) {
    constexpr unsigned kFirstError = 400;
    constexpr unsigned kNotFound = 404;
    if (answer.status >= kFirstError && answer.status != kNotFound) {
        m_keepAlive = false;
    }
    if (answer.isStream) {
        m_keepAlive = false;
    }
    m_answer = std::move(answer);
    m_piecesWritten = 0;
    m_fixedWritten = 0;
    m_answerEnd = std::chrono::steady_clock::now() + m_limits.answerTime;
    if (m_answer.isStream && !m_isHead) {
        m_isStream = true;
        // What is offered from now on waits for the end of the body.
        m_isWriting = true;
        m_owner.OnStream(shared_from_this());
    }
    WriteHead();
}

void CHttpConnection::WriteHead() {
    m_head.emplace(http::status::ok, 11);
    m_head->result(m_answer.status);
    for (const auto* headers : {&CommonHeaders(), &std::as_const(m_answer.headers)}) {
        for (const auto& [name, value] : *headers) {
            m_head->set(name, value);
        }
    }
    m_head->set(http::field::content_type, m_answer.contentType);
    m_head->keep_alive(m_keepAlive);
    if (!m_answer.isStream && !m_answer.makeBody) {
        m_head->content_length(BodySize(m_answer));
    }
    m_serializer.emplace(*m_head);
    m_timedOut = false;
    StartTimer(m_limits.pieceTime);
    http::async_write_header(
        m_socket, *m_serializer,
        [self = shared_from_this()](NetworkError error, size_t) { self->OnWritten(error); });
}

void CHttpConnection::OnWritten(NetworkError error) {
    m_timer.cancel();
    const bool isLate = std::chrono::steady_clock::now() > m_answerEnd;
    if (error || m_isClosed || isLate) {
        Close();
        return;
    }
    WriteBody();
}

// The next part of the body; small pieces together. False when there is no more.
bool CHttpConnection::FillChunk() {
    constexpr size_t kChunkBytes = size_t{64} << 10;
    m_chunk.clear();
    while (m_chunk.size() < kChunkBytes && m_piecesWritten < m_answer.body.size()) {
        m_chunk += *m_answer.body[m_piecesWritten];
        m_answer.body[m_piecesWritten++].reset();
    }
    const std::string_view rest = m_answer.fixedBody.substr(m_fixedWritten, kChunkBytes);
    m_fixedWritten += rest.size();
    m_chunk += rest;
    return !m_chunk.empty();
}

void CHttpConnection::WriteBody() {
    if (m_isHead || !FillChunk()) {
        OnAnswered();
        return;
    }
    m_timedOut = false;
    StartTimer(m_limits.pieceTime);
    asio::async_write(
        m_socket, asio::buffer(m_chunk),
        [self = shared_from_this()](NetworkError error, size_t) { self->OnWritten(error); });
}

void CHttpConnection::OnAnswered() {
    m_answer = Answer();
    if (m_isStream) {
        BeginStream();
    } else if (m_keepAlive) {
        ReadHead();
    } else {
        Linger();
    }
}

void CHttpConnection::BeginStream() {
    WatchForEnd();
    m_isWriting = false;
    WriteStream();
}

// Nothing is expected from the reader of a stream but that it goes.
void CHttpConnection::WatchForEnd() {
    constexpr size_t kAnyBytes = 512;
    m_buffer.clear();
    m_socket.async_read_some(m_buffer.prepare(kAnyBytes),
                             [self = shared_from_this()](NetworkError error, size_t) {
                                 if (error && !self->m_timedOut) {
                                     self->Close();
                                 } else if (!self->m_isClosed) {
                                     self->WatchForEnd();
                                 }
                             });
}

void CHttpConnection::Offer(const SharedText& text) {
    if (m_isClosed || m_isFinishing) {
        return;
    }
    m_offeredBytes += text->size();
    if (m_offeredBytes > m_limits.streamBytes) {
        Close();
        return;
    }
    m_offered.push_back(text);
    WriteStream();
}

void CHttpConnection::WriteStream() {
    if (m_isClosed || m_isWriting) {
        return;
    }
    if (m_offered.empty()) {
        if (m_isFinishing) {
            Linger();
        }
        return;
    }
    m_chunk.clear();
    for (; !m_offered.empty(); m_offered.pop_front()) {
        m_chunk += *m_offered.front();
    }
    m_isWriting = true;
    m_timedOut = false;
    StartTimer(m_limits.pieceTime);
    asio::async_write(m_socket, asio::buffer(m_chunk),
                      [self = shared_from_this()](NetworkError error, size_t) {
                          self->m_timer.cancel();
                          self->m_isWriting = false;
                          self->m_offeredBytes -= self->m_chunk.size();
                          if (error || self->m_isClosed) {
                              self->Close();
                              return;
                          }
                          self->WriteStream();
                      });
}

void CHttpConnection::Finish() {
    m_isFinishing = true;
    if (m_isStream) {
        WriteStream();
        return;
    }
    // Rests between two requests, or is in the middle of one.
    NetworkError ignored;
    m_socket.cancel(ignored);
}

// A socket that is closed while the other side still sends is reset, and what was sent to it may be
// lost with that: let the answer arrive first.
void CHttpConnection::Linger() {
    NetworkError error;
    m_socket.shutdown(Tcp::socket::shutdown_send, error);
    if (error || m_isStream) {
        Close();
        return;
    }
    m_timedOut = false;
    StartTimer(std::chrono::seconds(2));
    Drain();
}

void CHttpConnection::Drain() {
    constexpr size_t kPieceBytes = size_t{8} << 10;
    constexpr size_t kMostBytes = size_t{4} << 20;
    m_buffer.clear();
    m_socket.async_read_some(m_buffer.prepare(kPieceBytes),
                             [self = shared_from_this()](NetworkError error, size_t bytes) {
                                 self->m_drained += bytes;
                                 if (error || self->m_isClosed || self->m_drained > kMostBytes) {
                                     self->Close();
                                     return;
                                 }
                                 self->Drain();
                             });
}

void CHttpConnection::Close() {
    if (std::exchange(m_isClosed, true)) {
        return;
    }
    m_offered.clear();
    m_timer.cancel();
    NetworkError ignored;
    m_socket.close(ignored);
}

}  // namespace zorvane
