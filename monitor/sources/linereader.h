/** A text file line by line. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

#include "base/callerror.h"
#include "base/handle.h"

namespace zorvane {

struct TextLine {
    /** Without its line end, LF or CR LF. */
    std::string text;
    /** Whether the line end was there; missing only in the last line. */
    bool isWhole = false;
    /** From 1. */
    uint64_t number = 0;
};

/** Reads in pieces: a file may be larger than the memory. */
class CLineReader {
  public:
    /** The longest line in bytes; a longer one is cut and not whole. */
    static constexpr size_t kLongestLine = size_t{1} << 20;

    /** The error if there is one. */
    [[nodiscard]] std::optional<CallError> Open(const std::wstring& path);

    /** The next line; empty at the end of the file, and when reading fails. */
    std::optional<TextLine> Next();

    /** Why reading has failed. */
    const std::optional<CallError>& Failure() const { return m_failure; }

  private:
    bool Fill();

    CUniqueHandle m_file;
    std::string m_buffer;
    size_t m_taken = 0;
    uint64_t m_lines = 0;
    std::optional<CallError> m_failure;
};

}  // namespace zorvane
