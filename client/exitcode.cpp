#include "client/exitcode.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace zorvane {
namespace {

struct CodeText {
    DWORD code;
    const char* text;
};

constexpr CodeText kLoadFailures[] = {
    {0xC000007B, "could not load: not a valid image"},
    {0xC0000135, "could not load: a DLL is missing"},
    {0xC0000138, "could not load: an ordinal is missing in a DLL"},
    {0xC0000139, "could not load: an entry point is missing in a DLL"},
    {0xC0000142, "could not load: a DLL failed to initialise"},
};

constexpr CodeText kHostFailures[] = {
    {2, "did not start: the host found no library"},
    {3, "did not start: the host says that a library which the library needs is missing"},
    {4, "did not start: the library has no export ZorvaneProcess"},
    {5, "did not start: the host could not load the library"},
    {8, "did not start: the host does not understand its command line"},
};

constexpr CodeText kCrashes[] = {
    {0x80000003, "crashed: breakpoint"},
    {0xC0000005, "crashed: access violation"},
    {0xC0000006, "crashed: in-page error"},
    {0xC000001D, "crashed: illegal instruction"},
    {0xC0000094, "crashed: integer division by zero"},
    {0xC0000096, "crashed: privileged instruction"},
    {0xC00000FD, "crashed: stack overflow"},
    {0xC000013A, "was ended by Ctrl+C"},
    {0xC0000374, "crashed: heap corruption"},
    {0xC0000409, "crashed: fast fail"},
    {0xE06D7363, "crashed: uncaught C++ exception"},
    {0x20474343, "crashed: uncaught C++ exception"},
};

template <size_t kSize>
const char* Find(const CodeText (&table)[kSize], DWORD code) {
    const auto* row = std::find_if(std::begin(table), std::end(table),
                                   [code](const CodeText& entry) { return entry.code == code; });
    return row == std::end(table) ? nullptr : row->text;
}

// The two top bits of an exception code are set, in vendor-defined ones too.
bool IsException(DWORD code) { return (code & 0xC0000000) == 0xC0000000 || Find(kCrashes, code); }

// Small codes in decimal, as programs document them; status codes in hexadecimal, as Windows does.
std::string Number(DWORD code) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), code < 0x10000 ? "%lu" : "0x%08lX", code);
    return text.data();
}

const char* Words(DWORD code, bool greeted, bool asked) {
    if (code == 0 && asked) {
        return "ended in order";
    }
    if (code == 0) {
        return greeted ? "ended by itself" : "ended without a hello";
    }
    if (const char* text = Find(kLoadFailures, code)) {
        return text;
    }
    if (const char* text = Find(kCrashes, code)) {
        return text;
    }
    if (greeted) {
        return "died with exit code";
    }
    if (const char* text = Find(kHostFailures, code)) {
        return text;
    }
    return IsException(code) ? "crashed: exception"
                             : "did not start: the host ended with exit code";
}

}  // namespace

ExitKind ClassifyExit(DWORD code, bool greeted, bool asked) {
    if (code == 0) {
        return asked ? ExitKind::kOrderly : ExitKind::kByItself;
    }
    if (greeted) {
        return ExitKind::kCrash;
    }
    if (Find(kLoadFailures, code)) {
        return ExitKind::kHostFailure;
    }
    return IsException(code) ? ExitKind::kCrash : ExitKind::kHostFailure;
}

std::string DescribeExit(DWORD code, bool greeted, bool asked) {
    return std::string(Words(code, greeted, asked)) + " (" + Number(code) + ")";
}

}  // namespace zorvane
