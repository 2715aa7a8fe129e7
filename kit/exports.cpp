// The functions of the C interface. Nothing is thrown out of them.
#include <windows.h>

#include <cstring>
#include <new>

#include "kit/fillevent.h"
#include "kit/options.h"
#include "kit/session.h"
#include "kit/sessiontable.h"
#include "zorvane/client.h"

namespace {

using zorvane::CClientSession;
using zorvane::CExplainedWorker;

constexpr uint32_t kLargestEvent = 65536;

zorvane::CSessionTable s_sessions;

struct ResultText {
    ZorvaneResult result;
    const char* text;
};

constexpr ResultText kResultTexts[] = {
    {kZorvaneOk, "done"},
    {kZorvaneTimeout, "no event has come in time"},
    {kZorvaneNoSession, "there is no such session, or it has been closed"},
    {kZorvaneBadArgument, "a pointer, a size or a value makes no sense"},
    {kZorvaneRunning, "the session runs already"},
    {kZorvaneHasCallback, "the session has a callback, which takes all events"},
    {kZorvaneNoMemory, "there is not enough memory"},
    {kZorvaneCallFailed, "a call of Windows has failed"},
};

// Runs `job`; memory that cannot be had is an answer.
template <typename Job>
ZorvaneResult Answer(const Job& job) {
    try {
        return job();
    } catch (const std::bad_alloc&) {
        return kZorvaneNoMemory;
    }
}

template <typename Job>
ZorvaneResult WithSession(ZorvaneSession number, const Job& job) {
    return Answer([&]() -> ZorvaneResult {
        const auto session = s_sessions.Find(number);
        return session ? job(*session) : ZorvaneResult{kZorvaneNoSession};
    });
}

ZorvaneResult Command(ZorvaneSession number, CClientSession::Command command) {
    return WithSession(number, [command](CClientSession& session) -> ZorvaneResult {
        session.Post(command);
        return kZorvaneOk;
    });
}

ZorvaneResult Fail(ZorvaneError* error, ZorvaneResult result, uint32_t code, const char* call,
                   const char* text) {
    if (error) {
        error->result = result;
        error->code = code;
        zorvane::PutText(error->call, call);
        zorvane::PutText(error->text, text);
    }
    return result;
}

ZorvaneResult Open(const ZorvaneOptions& given, ZorvaneSession& number, ZorvaneError* error) {
    zorvane::ClientOptions options;
    if (const auto fault = zorvane::ReadOptions(given, options)) {
        return Fail(error, kZorvaneBadArgument, 0, fault->member.c_str(), fault->text.c_str());
    }
    const auto session = std::make_shared<CClientSession>(std::move(options));
    number = s_sessions.Add(session);
    if (const auto failed = session->Open()) {
        s_sessions.Remove(number);
        number = 0;
        return Fail(error, kZorvaneCallFailed, failed->code, failed->call.c_str(),
                    Describe(*failed).c_str());
    }
    return kZorvaneOk;
}

// Whether it has room for an error of this version; if so, empties it.
bool PrepareError(ZorvaneError* error) {
    if (!error) {
        return true;
    }
    const uint32_t size = error->size;
    if (size < sizeof(ZorvaneError)) {
        return false;
    }
    *error = {};
    error->size = size;
    return true;
}

}  // namespace

extern "C" {

uint32_t zorvane_client_version(void) { return ZORVANE_CLIENT_VERSION; }

ZorvaneResult zorvane_open(const ZorvaneOptions* options, ZorvaneSession* session,
                           ZorvaneError* error) {
    if (!PrepareError(error)) {
        return kZorvaneBadArgument;
    }
    if (!options || !session) {
        return Fail(error, kZorvaneBadArgument, 0, options ? "session" : "options", "null");
    }
    *session = 0;
    const ZorvaneResult result = Answer([&] { return Open(*options, *session, error); });
    if (result == kZorvaneNoMemory) {
        return Fail(error, result, 0, "zorvane_open", zorvane_result_text(result));
    }
    return result;
}

ZorvaneResult zorvane_start(ZorvaneSession session) {
    return WithSession(session, [](CClientSession& found) -> ZorvaneResult {
        return found.Start() ? kZorvaneOk : kZorvaneRunning;
    });
}

ZorvaneResult zorvane_stop(ZorvaneSession session) {
    return Command(session, &CExplainedWorker::Stop);
}

ZorvaneResult zorvane_pause(ZorvaneSession session) {
    return Command(session, &CExplainedWorker::Pause);
}

ZorvaneResult zorvane_resume(ZorvaneSession session) {
    return Command(session, &CExplainedWorker::Resume);
}

ZorvaneResult zorvane_next_event(ZorvaneSession session, ZorvaneEvent* event, uint32_t timeoutMs) {
    if (!event || event->size < sizeof(ZorvaneEvent) || event->size > kLargestEvent) {
        return kZorvaneBadArgument;
    }
    const ZorvaneResult result = WithSession(
        session, [=](CClientSession& found) { return found.NextEvent(*event, timeoutMs); });
    if (result == kZorvaneOk) {
        // Members that only a later version knows.
        std::memset(event + 1, 0, event->size - sizeof(ZorvaneEvent));
    }
    return result;
}

ZorvaneResult zorvane_close(ZorvaneSession session) {
    return Answer([session]() -> ZorvaneResult {
        const auto found = s_sessions.Remove(session);
        if (!found) {
            return kZorvaneNoSession;
        }
        found->Close();
        return kZorvaneOk;
    });
}

const char* zorvane_result_text(ZorvaneResult result) {
    for (const ResultText& row : kResultTexts) {
        if (row.result == result) {
            return row.text;
        }
    }
    return "unknown result";
}

const char* zorvane_event_name(ZorvaneEventType type) { return zorvane::EventName(type); }

}  // extern "C"
