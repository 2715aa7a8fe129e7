/** The command line that names a stub window. */
#pragma once

#include <string>

#include "tests/support/recordingstub.h"

/** "--wnd=<handle> --entry=<entry>" */
inline std::wstring CommandLine(const CRecordingStub& stub, const std::wstring& entry) {
    return stub.WindowWord() + L" --entry=" + entry;
}

/** Waits for `count` messages of any code. */
inline bool WaitForAny(CRecordingStub& stub, size_t count) {
    return stub.WaitUntil(
        [count](const std::vector<StubMessage>& messages) { return messages.size() >= count; });
}
