#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "bench/floor.h"
#include "bench/machine.h"
#include "bench/rows.h"
#include "bench/samples.h"
#include "src/log/logger.h"
#include "src/log/logsite.h"

namespace {

constexpr char kLogSource[] = "tests\\linerow.cpp";

constexpr unsigned kRepetitions = 200;
constexpr int kLines = 20;
constexpr int kSilentLines = 20000;

template <typename WriteLine>
double SecondsOfLine(int lines, WriteLine writeLine) {
    return SecondsOf([&] {
               for (int line = 0; line < lines; ++line) {
                   writeLine(line);
               }
           }) /
           lines;
}

// A line of the same parts, under the same kind of mutex.
class CPeerLog {
  public:
    explicit CPeerLog(const std::filesystem::path& path)
        : m_logger(spdlog::basic_logger_st("peer", path.string())),
          m_mutex(CreateMutexW(nullptr, FALSE, L"ZorvaneBenchPeer")) {
        m_logger->set_pattern("%m-%d %H:%M:%S.%e [%5P][%5t][E][I][%#][%s] %v");
        m_logger->flush_on(spdlog::level::info);
    }
    ~CPeerLog() {
        spdlog::shutdown();
        CloseHandle(m_mutex);
    }
    CPeerLog(const CPeerLog&) = delete;
    CPeerLog& operator=(const CPeerLog&) = delete;

    void Write(int number) {
        WaitForSingleObject(m_mutex, INFINITE);
        m_logger->log(spdlog::source_loc{"linerow", __LINE__, ""}, spdlog::level::info, "line {}",
                      number);
        ReleaseMutex(m_mutex);
    }

  private:
    std::shared_ptr<spdlog::logger> m_logger;
    HANDLE m_mutex;
};

// What one line costs on any machine.
template <typename Write>
std::string CountsOf(const Write& write) {
    CCallCounts counts(nullptr);
    counts.Begin();
    write(0);
    return CountsText(counts.End(), 1);
}

}  // namespace

Row LineRow() {
    const BenchMachine machine(1);
    const std::filesystem::path folder = machine.folder / "Log";
    ZorLog::InitLogger((folder / "own.log").c_str(), L"E");
    CFloorLog floor((folder / "floor.log").c_str());
    CPeerLog peer(folder / "peer.log");
    const auto own = [](int line) { LOG_INFO(L"line %d", line); };
    Row row{"log line", {}, {}, {}, 1.10};
    for (unsigned repetition = 0; repetition < kRepetitions; ++repetition) {
        row.own.push_back(SecondsOfLine(kLines, own));
        row.floor.push_back(SecondsOfLine(
            kLines, [&](int line) { floor.WriteSite("linerow", __LINE__, L"line %d", line); }));
        row.peer.push_back(SecondsOfLine(kLines, [&](int line) { peer.Write(line); }));
    }
    row.counts = CountsOf(own);
    ZorLog::GetLogger()->Close();
    return row;
}

Row SilentLineRow() {
    const BenchMachine machine(1);
    ZorLog::InitLogger((machine.folder / "Log" / "own.log").c_str(), L"E");
    ZorLog::SetLogLevel(ZorLog::kLevelOff);
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    const auto own = [](int line) { LOG_INFO(L"line %d", line); };
    Row row{"log line while the log is off", {}, {}, {}, 1.30};
    for (unsigned repetition = 0; repetition < kRepetitions; ++repetition) {
        row.own.push_back(SecondsOfLine(kSilentLines, own));
        row.floor.push_back(SecondsOfLine(kSilentLines, [&](int) {
            EnterCriticalSection(&section);
            LeaveCriticalSection(&section);
        }));
    }
    DeleteCriticalSection(&section);
    row.counts = CountsOf(own);
    ZorLog::GetLogger()->Close();
    return row;
}
