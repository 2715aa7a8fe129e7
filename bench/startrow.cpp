#include <memory>
#include <stdexcept>

#include "base/handle.h"
#include "bench/machine.h"
#include "bench/rows.h"
#include "bench/samples.h"
#include "zorvane/wire.h"

namespace {

constexpr unsigned kRepetitions = 25;

// A stub that looks at the clock.
class CClockedStub {
  public:
    HWND Window() const { return m_window.Handle(); }
    HANDLE RecordCame() const { return m_recordCame.get(); }
    double HelloAt() const { return m_helloAt; }
    double RecordAt() const { return m_recordAt; }

    void StopWorker() {
        COPYDATASTRUCT data{kCopyDataStop, 0, nullptr};
        SendMessageW(m_worker, WM_COPYDATA, reinterpret_cast<WPARAM>(Window()),
                     reinterpret_cast<LPARAM>(&data));
    }

  private:
    void Take(const COPYDATASTRUCT& data) {
        if (data.dwData == kCopyDataHello) {
            m_helloAt = Now();
            m_worker = reinterpret_cast<HWND>(
                static_cast<uintptr_t>(static_cast<const HelloPayload*>(data.lpData)->hostWnd));
        } else if (data.dwData == kCopyDataTaskData && m_recordAt == 0) {
            m_recordAt = Now();
        }
        // The work thread may be quicker than the loop thread.
        if (m_helloAt != 0 && m_recordAt != 0) {
            SetEvent(m_recordCame.get());
        }
    }

    zorvane::CUniqueHandle m_recordCame{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    double m_helloAt = 0;
    double m_recordAt = 0;
    HWND m_worker = nullptr;
    zorvane::CWindowThread m_window{
        [this](UINT message, WPARAM, LPARAM lParam) -> std::optional<LRESULT> {
            if (message != WM_COPYDATA) {
                return std::nullopt;
            }
            Take(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
            return TRUE;
        }};
};

zorvane::CUniqueHandle StartProcess(std::wstring words) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, words.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        throw std::runtime_error("a worker cannot be started");
    }
    CloseHandle(process.hThread);
    return zorvane::CUniqueHandle(process.hProcess);
}

struct Start {
    double hello = 0;
    double record = 0;
};

Start MeasureStart(const std::filesystem::path& program, const std::wstring& word = L"") {
    CClockedStub stub;
    const double begin = Now();
    const zorvane::CUniqueHandle process = StartProcess(
        L"\"" + program.wstring() + L"\" --entry=bench " + word + WindowWord(stub.Window()));
    constexpr DWORD kPatienceMs = 30000;
    if (WaitForSingleObject(stub.RecordCame(), kPatienceMs) != WAIT_OBJECT_0) {
        TerminateProcess(process.get(), 1);
        throw std::runtime_error("no record came from " + program.string());
    }
    stub.StopWorker();
    WaitForSingleObject(process.get(), INFINITE);
    return {stub.HelloAt() - begin, stub.RecordAt() - begin};
}

}  // namespace

std::vector<Row> StartRows() {
    const BenchMachine machine(1);
    const std::filesystem::path host = machine.folder / "zorvanehost.exe";
    const std::filesystem::path bare = machine.folder / "bench_worker.exe";
    std::filesystem::copy_file(PartOfBuild(L"bench") / "bench_worker.exe", bare);
    Row hello{"start to hello", {}, {}, {}, 1.10};
    Row record{"start to first record", {}, {}, {}, 1.10};
    Row bareHello{"start to hello, floor without libraries", {}, {}, {}, 0};
    Row bareRecord{"start to first record, floor without libraries", {}, {}, {}, 0};
    for (unsigned repetition = 0; repetition <= kRepetitions; ++repetition) {
        const Start own = MeasureStart(host);
        const Start floor = MeasureStart(bare, L"--libraries ");
        const Start barest = MeasureStart(bare);
        // The first ones read their files from the disk.
        if (repetition == 0) {
            continue;
        }
        hello.own.push_back(own.hello);
        hello.floor.push_back(floor.hello);
        record.own.push_back(own.record);
        record.floor.push_back(floor.record);
        bareHello.floor.push_back(barest.hello);
        bareRecord.floor.push_back(barest.record);
    }
    bareHello.own = hello.own;
    bareRecord.own = record.own;
    return {hello, record, bareHello, bareRecord};
}
