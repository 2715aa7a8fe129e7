/** Reading a log that other processes write. */
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorvane {

/**
 * Gives the lines of a log as they are added. The file is open during a call only: a worker that
 * starts deletes it, and could not make it anew while somebody has it open. One that was replaced
 * is noticed and read from its beginning. Not more than kMostAtOnce bytes are read in one call.
 */
class CLogFollower {
  public:
    static constexpr size_t kMostAtOnce = size_t{64} * 1024;

    /** The most of a file's past that is read; what stands before that is left out. */
    static constexpr uint64_t kLongestPast = uint64_t{1} << 20;

    /** Follows this file, which need not exist yet, from its beginning. */
    void Follow(const std::wstring& path);

    /** Leaves out what the file holds now. */
    void SkipToEnd();

    /** The lines that have become whole since the last call, without their line ends. */
    std::vector<std::string> Read();

    /** Whether the last Read has left something for the next. */
    bool HasMore() const { return m_hasMore; }

    /** The Windows error because of which the last call could not read the file. */
    const std::optional<DWORD>& Failure() const { return m_failure; }

    const std::wstring& Path() const { return m_path; }

  private:
    /** Nothing if it cannot be read. */
    std::optional<bool> IsSameFile(HANDLE file, uint64_t size);
    void Take(std::string_view bytes);
    std::vector<std::string> WholeLines();

    std::wstring m_path;
    uint64_t m_offset = 0;
    /** The last bytes before m_offset. Their times and ids tell the file from any other. */
    std::string m_anchor;
    /** The beginning of a line whose end has not been read yet. */
    std::string m_unfinished;
    bool m_hasMore = false;
    std::optional<DWORD> m_failure;
};

}  // namespace zorvane
