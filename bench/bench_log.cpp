// What one log line costs, beside a general logging library that flushes every line as ours does.
#include <windows.h>

#include <fmt/core.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <filesystem>

#include "bench/stopwatch.h"
#include "src/log/logger.h"
#include "src/log/logsite.h"

namespace {

constexpr char kLogSource[] = "tests\\bench_log.cpp";

constexpr int kLines = 20000;

template <typename WriteLine>
void Measure(const char* what, WriteLine writeLine) {
    const CStopwatch stopwatch;
    for (int line = 0; line < kLines; ++line) {
        writeLine(line);
    }
    fmt::print("{:<44} {:8.2f} us processor {:8.2f} us wall, per line\n", what,
               stopwatch.ProcessorSeconds() * 1e6 / kLines, stopwatch.WallSeconds() * 1e6 / kLines);
}

}  // namespace

int main() {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() /
                                         ("zorvane-bench-" + std::to_string(GetCurrentProcessId()));
    std::filesystem::create_directories(folder);

    fmt::print("{} lines\n", kLines);
    ZorLog::InitLogger((folder / "own.log").wstring().c_str(), L"E");
    Measure("log site, shared file, one mutex a line",
            [](int line) { LOG_INFO(L"line %d", line); });

    const auto peer = spdlog::basic_logger_mt("peer", (folder / "peer.log").string());
    peer->flush_on(spdlog::level::info);
    Measure("spdlog file sink, flushed a line, one process",
            [&peer](int line) { peer->info("line {}", line); });

    ZorLog::SetLogLevel(ZorLog::kLevelOff);
    Measure("log site while the log is off", [](int line) { LOG_INFO(L"line %d", line); });

    spdlog::shutdown();
    ZorLog::GetLogger()->Close();
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    return EXIT_SUCCESS;
}
