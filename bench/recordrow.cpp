#include "bench/floor.h"
#include "bench/machine.h"
#include "bench/rows.h"
#include "bench/samples.h"
#include "src/process/msgloopprocess.h"

namespace {

constexpr unsigned kRepetitions = 300;
constexpr unsigned kRecords = 20;

}  // namespace

Row RecordRow() {
    const zorvane::CWindowThread stub = TakingStub();
    CMsgLoopProcess process;
    process.Init((L"--entry=bench " + WindowWord(stub.Handle())).c_str(), [] {});
    NvmlGpuRecord record{};
    const auto send = [&] { process.SendData(record.entry, sizeof(record)); };
    const auto sendBare = [&] { FloorSend(stub.Handle(), nullptr, record); };
    const auto perRecord = [](auto sendOne) {
        return SecondsOf([&] {
                   for (unsigned count = 0; count < kRecords; ++count) {
                       sendOne();
                   }
               }) /
               kRecords;
    };
    Row row{"record sent", {}, {}, {}, 1.05};
    for (unsigned repetition = 0; repetition < kRepetitions; ++repetition) {
        row.own.push_back(perRecord(send));
        row.floor.push_back(perRecord(sendBare));
    }
    CCallCounts counts(nullptr);
    counts.Begin();
    send();
    row.counts = CountsText(counts.End(), 1);
    return row;
}
