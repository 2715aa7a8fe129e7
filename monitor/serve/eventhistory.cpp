#include "monitor/serve/eventhistory.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace zorvane {

// Keys are sorted into those of the run, of its worker ("worker/...") and of the worker's readings
// ("worker/up/..."), so that the end of one ends what is below it.
CEventHistory::Effect CEventHistory::EffectOf(const EventBody& body) {
    struct Visitor {
        Effect operator()(const StartEvent&) const { return {"", "run"}; }
        Effect operator()(const WorkerStartEvent&) const { return {"worker", "worker"}; }
        Effect operator()(const HelloEvent&) const { return {"", "worker/up/hello"}; }
        Effect operator()(const GpuStatic& fixed) const {
            return {"", fmt::format("worker/gpu/{}", fixed.first.index)};
        }
        Effect operator()(const MissingEvent& missing) const {
            return {"", "worker/missing/" + missing.what};
        }
        Effect operator()(const StaleEvent&) const { return {"", "worker/up/stale"}; }
        Effect operator()(const FreshEvent&) const { return {"worker/up/stale", ""}; }
        Effect operator()(const GpuLostEvent& lost) const {
            return {"", fmt::format("worker/lost/{}", lost.gpu.index)};
        }
        Effect operator()(const GpuBackEvent& back) const {
            return {fmt::format("worker/lost/{}", back.gpu.index), ""};
        }
        Effect operator()(const ExitEvent&) const { return {"worker/up", "worker/end"}; }
        Effect operator()(const GpuReading&) const { return {}; }
        Effect operator()(const CpuTemperature&) const { return {}; }
        Effect operator()(const CpuUnreadEvent&) const { return {}; }
        Effect operator()(const ErrorEvent&) const { return {}; }
        Effect operator()(const WarningEvent& warning) const {
            const std::string key = fmt::format("worker/warning/{}/{}", warning.what,
                                                warning.gpu ? warning.gpu->index + 1 : 0);
            return warning.over ? Effect{"", key} : Effect{key, ""};
        }
        Effect operator()(const NoticeEvent&) const { return {}; }
        Effect operator()(const PausedEvent&) const { return {"", "worker/paused"}; }
        Effect operator()(const ResumedEvent&) const { return {"worker/paused", ""}; }
    };
    return std::visit(Visitor(), body);
}

void CEventHistory::CFacts::Apply(const Effect& effect, const SharedText& line) {
    const auto isOver = [&](const auto& fact) {
        const std::string& key = fact.first;
        return key == effect.begins ||
               (!effect.ends.empty() && (key == effect.ends || key.starts_with(effect.ends + "/")));
    };
    if (effect.ends.empty() && effect.begins.empty()) {
        return;
    }
    std::erase_if(m_facts, isOver);
    if (!effect.begins.empty()) {
        m_facts.emplace_back(effect.begins, line);
    }
}

std::vector<SharedText> CEventHistory::CFacts::Lines() const {
    std::vector<SharedText> lines;
    for (const auto& [key, line] : m_facts) {
        lines.push_back(line);
    }
    return lines;
}

const SentEvent& CEventHistory::Add(const Event& event, std::string line) {
    m_bytes += line.size();
    m_kept.push_back(
        {{++m_lastNumber, event.time, std::make_shared<const std::string>(std::move(line))},
         EffectOf(event.body)});
    Shorten(event.time);
    return m_kept.back().sent;
}

// A clock that was set back makes nothing old; the limit in bytes holds all the same.
void CEventHistory::Shorten(UtcTime now) {
    while (m_kept.size() > 1 &&
           (m_bytes > m_limits.bytes || now - m_kept.front().sent.time > m_limits.age)) {
        const Kept& oldest = m_kept.front();
        m_before.Apply(oldest.effect, oldest.sent.line);
        m_bytes -= oldest.sent.line->size();
        m_kept.pop_front();
    }
}

std::vector<SharedText> CEventHistory::Lines(
    std::optional<std::chrono::milliseconds> seconds) const {
    CFacts before = m_before;
    auto first = m_kept.begin();
    if (seconds && !m_kept.empty()) {
        const UtcTime begin = m_kept.back().sent.time - *seconds;
        for (; first != m_kept.end() && first->sent.time < begin; ++first) {
            before.Apply(first->effect, first->sent.line);
        }
    }
    std::vector<SharedText> lines = before.Lines();
    for (; first != m_kept.end(); ++first) {
        lines.push_back(first->sent.line);
    }
    return lines;
}

std::optional<std::vector<SentEvent>> CEventHistory::After(uint64_t number) const {
    const uint64_t oldest = m_lastNumber - m_kept.size() + 1;
    if (number > m_lastNumber || number + 1 < oldest) {
        return std::nullopt;
    }
    std::vector<SentEvent> events;
    for (auto kept = m_kept.begin() + static_cast<ptrdiff_t>(number + 1 - oldest);
         kept != m_kept.end(); ++kept) {
        events.push_back(kept->sent);
    }
    return events;
}

}  // namespace zorvane
