#include <fmt/core.h>

#include <functional>
#include <memory>

#include "bench/recordjson.h"
#include "bench/rows.h"
#include "bench/samplerecord.h"
#include "bench/samples.h"
#include "client/decode.h"
#include "monitor/model/machinemodel.h"
#include "monitor/outputs/textoutput.h"
#include "monitor/views/csvview.h"
#include "monitor/views/jsonview.h"
#include "monitor/views/prometheusview.h"

namespace {

using zorvane::CMachineModel;
using zorvane::Event;
using zorvane::IView;

constexpr unsigned kGpus = 64;
constexpr unsigned kRepetitions = 100;

// Takes text as a file does, and keeps none of it.
class CCountedText : public zorvane::ITextOutput {
  public:
    void SetFrame(const zorvane::IFileFrame&) override {}
    void Write(std::string_view text) override { m_bytes += text.size(); }
    std::optional<zorvane::ViewFailure> Failure() const override { return std::nullopt; }

    size_t Bytes() const { return m_bytes; }

  private:
    size_t m_bytes = 0;
};

Event EventOf(const NvmlGpuRecord& record) {
    const auto* bytes = reinterpret_cast<const std::byte*>(&record);
    zorvane::Decoded decoded =
        zorvane::Decode({kCopyDataTaskData, sizeof(record), {bytes, bytes + sizeof(record)}});
    return {{}, std::get<zorvane::GpuReading>(std::move(decoded))};
}

// The model and the view of a run, from 64 readings to the text of their round.
void ShowRound(const std::vector<Event>& events, CMachineModel& model, IView& view) {
    for (const Event& event : events) {
        model.Apply(event);
        view.OnEvent(event, model);
    }
    view.OnRound(model);
}

using MakeView = std::function<std::unique_ptr<IView>(zorvane::ITextOutput& output)>;

Row FormRow(const char* form, const MakeView& makeView) {
    std::vector<NvmlGpuRecord> records;
    std::vector<Event> events;
    for (uint32_t index = 0; index < kGpus; ++index) {
        records.push_back(SampleRecord(index, kGpus));
        events.push_back(EventOf(records.back()));
    }
    CCountedText output;
    const std::unique_ptr<IView> view = makeView(output);
    CMachineModel model;
    model.Apply({{}, zorvane::StartEvent{}});
    ShowRound(events, model, *view);
    const size_t bytes = output.Bytes();
    Row row{fmt::format("round of {} GPUs, {}", kGpus, form), {}, {}, {}, 0};
    for (unsigned repetition = 0; repetition < kRepetitions; ++repetition) {
        row.own.push_back(SecondsOf([&] { ShowRound(events, model, *view); }));
        if (std::string_view(form) == "json") {
            char line[1000];
            row.floor.push_back(SecondsOf([&] {
                for (const NvmlGpuRecord& record : records) {
                    output.Write({line, RecordJson(record, line, sizeof(line))});
                }
            }));
        }
    }
    CCallCounts counts(nullptr);
    counts.Begin();
    ShowRound(events, model, *view);
    row.counts = fmt::format("{}, {} bytes", CountsText(counts.End(), 1), bytes);
    return row;
}

}  // namespace

std::vector<Row> FormRows() {
    return {
        FormRow("json", [](auto& output) { return std::make_unique<zorvane::CJsonView>(output); }),
        FormRow("csv",
                [](auto& output) {
                    return std::make_unique<zorvane::CCsvView>(output, zorvane::CsvColumns({}),
                                                               ',');
                }),
        FormRow("prometheus",
                [](auto& output) { return std::make_unique<zorvane::CPrometheusBlocks>(output); })};
}
