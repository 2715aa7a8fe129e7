#include "tests/support/fakeprocess.h"

#include "zorvane/wire.h"

bool CFakeProcess::SendCopyData(const COPYDATASTRUCT* data) {
    messages.push_back(
        {data->dwData, std::string(static_cast<const char*>(data->lpData), data->cbData)});
    return sendResult;
}

const wchar_t* CFakeProcess::GetEntry() { return L"fake"; }

void CFakeProcess::Run() {}

BOOL CFakeProcess::Quit() { return TRUE; }

bool CFakeProcess::WaitQuit(DWORD timeoutMs) {
    waits.push_back(timeoutMs);
    return onWaitQuit && onWaitQuit(timeoutMs);
}

void CFakeProcess::SendData(wchar_t* buffer, DWORD size) {
    messages.push_back(
        {kCopyDataTaskData, std::string(reinterpret_cast<const char*>(buffer), size)});
}
