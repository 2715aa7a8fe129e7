#include "monitor/commands/report.h"

#include <CLI/CLI.hpp>

#include "base/handle.h"
#include "base/text.h"
#include "base/textstream.h"
#include "monitor/options/values.h"
#include "monitor/outcome.h"
#include "monitor/output.h"
#include "monitor/report/reportbuilder.h"
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

int Save(const std::string& path, bool overwrite, const std::string& page) {
    const CUniqueHandle file = OwnFile(
        CreateFileW(ToWide(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                    overwrite ? CREATE_ALWAYS : CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        const CallError error = LastCallError("CreateFileW");
        WriteNote(error.code == ERROR_FILE_EXISTS
                      ? path + " exists already; --overwrite replaces it"
                      : Describe({error.call + " " + path, error.code}));
        return kExitOutput;
    }
    if (const auto error = WriteText(file.get(), page)) {
        WriteNote(Describe({error->call + " " + path, error->code}));
        return kExitOutput;
    }
    return kExitDone;
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
    app.footer("Example:\n  zorvanemon report today.jsonl -o today.html --mask");
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
    const bool isBad = *source.End() == EndReason::kRecordingBad;
    if (builder.IsEmpty()) {
        return kExitRecording;
    }
    // What a recording has before the place where it is bad is worth seeing.
    const std::string path = m_file.empty() ? WithoutExtension(m_recording) + ".html" : m_file;
    const int saved = Save(path, m_overwrite, builder.Page(now.utc));
    return saved != kExitDone ? saved : isBad ? kExitRecording : kExitDone;
}

}  // namespace zorvane
