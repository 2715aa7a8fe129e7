#include "monitor/serve/servedstate.h"

#include <fmt/format.h>

#include <charconv>
#include <utility>

#include "monitor/json/jsonline.h"
#include "monitor/report/historyreport.h"
#include "web/webpage.h"

namespace zorvane {
namespace {

constexpr char kJsonLines[] = "application/x-ndjson; charset=utf-8";
// How long a browser waits before it connects again, in milliseconds.
constexpr char kRetry[] = "retry: 1000\n\n";

Answer Fixed(const char* contentType, std::string_view body) {
    Answer answer;
    answer.contentType = contentType;
    answer.fixedBody = body;
    return answer;
}

SharedText Shared(std::string text) { return std::make_shared<const std::string>(std::move(text)); }

// The number in an id of Framed; empty for the id of another run.
std::optional<uint64_t> NumberIn(const std::string& id, const std::string& runId) {
    const size_t dot = id.find('.');
    if (dot == std::string::npos || id.substr(0, dot) != runId) {
        return std::nullopt;
    }
    uint64_t number = 0;
    const char* end = id.data() + id.size();
    const auto [stop, error] = std::from_chars(id.data() + dot + 1, end, number);
    return error == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

Answer Report(const CEventHistory& history, bool mask, const DoctorQuestion& doctor) {
    Answer answer;
    answer.contentType = "text/html; charset=utf-8";
    answer.headers.emplace_back("Content-Disposition",
                                "attachment; filename=\"zorvane-report.html\"");
    answer.makeBody = [lines = history.Lines(std::nullopt), mask, doctor] {
        return Shared(HistoryReport(lines, mask, doctor ? doctor() : ""));
    };
    return answer;
}

}  // namespace

CServedState::CServedState(HostPolicy policy, const HistoryLimits& limits, std::string runId,
                           DoctorQuestion doctor)
    : m_policy(std::move(policy)),
      m_runId(std::move(runId)),
      m_doctor(std::move(doctor)),
      m_history(limits) {}

SharedText CServedState::Add(const Event& event, std::string line) {
    m_lastTime = event.time;
    if (const auto* start = std::get_if<StartEvent>(&event.body)) {
        m_start = *start;
    }
    return Shared(Framed(m_history.Add(event, std::move(line))));
}

std::string CServedState::Framed(const SentEvent& event) const {
    return fmt::format("id: {}.{}\ndata: {}\n", m_runId, event.number, *event.line);
}

Answer CServedState::Respond(const RequestFacts& request) const {
    if (const auto status = Refusal(request, m_policy)) {
        return RefusalAnswer(*status);
    }
    const RouteOrStatus parsed = ParseTarget(request.target);
    if (const auto* status = std::get_if<unsigned>(&parsed)) {
        return RefusalAnswer(*status);
    }
    const auto& route = std::get<Route>(parsed);
    switch (route.place) {
        case Place::kPage:
            return Fixed("text/html; charset=utf-8", kWebPage);
        case Place::kStyle:
            return Fixed("text/css; charset=utf-8", kWebStyle);
        case Place::kCharts:
            return Fixed("text/javascript; charset=utf-8", kWebCharts);
        case Place::kScript:
            return Fixed("text/javascript; charset=utf-8", kWebScript);
        case Place::kEvents:
            return Stream(request.lastEventId.empty() ? route.after : request.lastEventId);
        case Place::kReport:
            return Report(m_history, route.mask, m_doctor);
        case Place::kRecording:
            return Recording();
        case Place::kHistory: {
            Answer answer;
            answer.contentType = kJsonLines;
            answer.headers.emplace_back("Zorvane-Last-Event",
                                        fmt::format("{}.{}", m_runId, m_history.LastNumber()));
            answer.body = m_history.Lines(route.seconds);
            return answer;
        }
        default:
            return Data(route.place, request);
    }
}

Answer CServedState::Data(Place place, const RequestFacts& request) const {
    if (place == Place::kHealth) {
        constexpr unsigned kUnavailable = 503;
        return m_texts.trouble.empty() ? PlainAnswer(200, "ok")
                                       : PlainAnswer(kUnavailable, m_texts.trouble);
    }
    Answer answer;
    const bool isOpen = request.accept.find("application/openmetrics-text") != std::string::npos;
    const SharedText& text = isOpen ? m_texts.openMetrics : m_texts.prometheus;
    answer.contentType = isOpen ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                                : "text/plain; version=0.0.4; charset=utf-8";
    if (text) {
        answer.body.push_back(text);
    }
    return answer;
}

// A recording that ends while its worker runs lacks something, unless it says that it was meant to.
Answer CServedState::Recording() const {
    Answer answer;
    answer.contentType = kJsonLines;
    answer.headers.emplace_back("Content-Disposition",
                                "attachment; filename=\"zorvane-recording.jsonl\"");
    answer.body = m_history.Lines(std::nullopt);
    const NoticeEvent taken{kContinuedNotice, "the recording was taken here, and the run went on"};
    answer.body.push_back(Shared(JsonLine({m_lastTime, taken}, m_start) + "\n"));
    return answer;
}

// A reader that has seen part of this run gets the rest; any other one is told to begin anew.
Answer CServedState::Stream(const std::string& after) const {
    Answer answer;
    answer.contentType = "text/event-stream; charset=utf-8";
    answer.isStream = true;
    answer.streamedUpTo = m_history.LastNumber();
    answer.body.push_back(Shared(kRetry));
    if (after.empty()) {
        return answer;
    }
    const auto number = NumberIn(after, m_runId);
    const auto missed = number ? m_history.After(*number) : std::nullopt;
    if (!missed) {
        answer.body.push_back(Shared("event: reset\ndata: {}\n\n"));
        return answer;
    }
    for (const SentEvent& event : *missed) {
        answer.body.push_back(Shared(Framed(event)));
    }
    return answer;
}

}  // namespace zorvane
