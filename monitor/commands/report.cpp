#include "monitor/commands/report.h"

#include <CLI/CLI.hpp>

#include "base/text.h"
#include "base/textstream.h"
#include "monitor/newfile.h"
#include "monitor/options/values.h"
#include "monitor/outcome.h"
#include "monitor/output.h"
#include "monitor/report/reportbuilder.h"
#include "monitor/sources/linereader.h"
#include "monitor/sources/recordingsource.h"

namespace zorvane {
namespace {

// Gives the events to the report, and says what is wrong with the recording itself.
class CReportSink : public IEventSink {
  public:
    explicit CReportSink(CReportBuilder& builder) : m_builder(builder) {}

    void OnEvent(const Event& event) override {
        const auto* notice = std::get_if<NoticeEvent>(&event.body);
        if (notice && (notice->id == "recording.open" || notice->id == "recording.line")) {
            WriteNote(notice->text);
            return;
        }
        m_builder.Add(event);
    }

  private:
    CReportBuilder& m_builder;
};

std::string WithoutExtension(const std::string& path) {
    const size_t dot = path.find_last_of(".\\/");
    return dot != std::string::npos && path[dot] == '.' ? path.substr(0, dot) : path;
}

// False when that fails, which is then said.
bool Save(const std::string& path, bool overwrite, const std::string& page) {
    const auto created = CreateNewFile(path, overwrite);
    if (const auto* error = std::get_if<std::string>(&created)) {
        WriteNote(*error);
        return false;
    }
    if (const auto error = WriteText(std::get<CUniqueHandle>(created).get(), page)) {
        WriteNote(Describe({error->call + " " + path, error->code}));
        return false;
    }
    return true;
}

// False when the file is not what doctor writes, which is then said.
bool AddDoctor(const std::string& path, CReportBuilder& builder) {
    CLineReader reader;
    std::optional<CallError> error = reader.Open(ToWide(path));
    std::string text;
    while (const auto line = error ? std::nullopt : reader.Next()) {
        text += line->text;
        constexpr size_t kLongest = size_t{4} << 20;
        if (text.size() > kLongest) {
            break;
        }
    }
    error = error ? error : reader.Failure();
    if (error) {
        WriteNote(Describe(*error));
        return false;
    }
    if (!builder.AddDoctor(text)) {
        WriteNote(path + " is not what zorvanemon doctor --json writes");
        return false;
    }
    return true;
}

}  // namespace

void CReportCommand::Declare(CLI::App& app) {
    app.add_option("RECORDING", m_recording, "What record, or --format json, has written")
        ->type_name("")
        ->required();
    AddValue(app, "-o,--out", m_file, "The file to write; without it, RECORDING with .html",
             "FILE");
    app.add_flag("--overwrite", m_overwrite, "Replace the file if it exists");
    app.add_flag("--mask", m_mask, "Leave out serial numbers and the computer's name");
    AddValue(app, "--doctor", m_doctor, "What zorvanemon doctor --json has written on that machine",
             "FILE");
    app.footer(
        "Examples:\n"
        "  zorvanemon report today.jsonl -o today.html --mask\n"
        "  zorvanemon doctor --json > doctor.json\n"
        "  zorvanemon report today.jsonl --doctor doctor.json");
}

int CReportCommand::Run(const CommandContext&) {
    CReportBuilder builder(m_mask);
    CReportSink sink(builder);
    CRecordingSource source({ToWide(m_recording), std::nullopt});
    const Moment now = ReadMoment();
    source.Start(sink, now);
    while (!source.End()) {
        source.OnTime(now);
    }
    if (!m_doctor.empty() && !AddDoctor(m_doctor, builder)) {
        return kExitRecording;
    }
    const bool isBad = *source.End() == EndReason::kRecordingBad;
    if (builder.IsEmpty()) {
        return kExitRecording;
    }
    // What a recording has before the place where it is bad is worth seeing.
    const std::string path = m_file.empty() ? WithoutExtension(m_recording) + ".html" : m_file;
    if (!Save(path, m_overwrite, builder.Page(now.utc))) {
        return kExitOutput;
    }
    return isBad ? kExitRecording : kExitDone;
}

}  // namespace zorvane
