/** A file that text is added to. */
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "base/handle.h"
#include "monitor/outputs/textoutput.h"
#include "monitor/outputs/writetrouble.h"

namespace zorvane {

struct GrowingFileOptions {
    std::wstring path;
    /** The size in bytes that the file does not exceed with more than one text; 0: any. */
    uint64_t rotateAt = 0;
    /** How many older parts to keep, from 1. */
    unsigned keep = 1;
};

/**
 * Open only while it is written: at rest, others may move or delete the file, and the next Write
 * begins a new one. What cannot be written, because the disk is full or somebody else has the file
 * open, is kept in memory up to kMostPending bytes and written later; the file never ends in half a
 * line.
 */
class CGrowingFile : public ITextOutput {
  public:
    static constexpr size_t kMostPending = 4u << 20;

    /** `notes` outlives the file. */
    CGrowingFile(GrowingFileOptions options, INotes& notes,
                 std::function<Moment()> clock = ReadMoment);

    /**
     * Makes the file if there is none: a sentence if it cannot be written, is no UTF-8 text, or has
     * a first line other than `firstLine`, where that is not empty.
     */
    [[nodiscard]] std::optional<std::string> Open(const std::string& firstLine = "");

    void SetFrame(const IFileFrame& frame) override { m_frame = &frame; }
    void Write(std::string_view text) override;
    void Rest() override { m_file.reset(); }
    /** Tries once more to write what could not be written. */
    void Finish() override;

    /** After Finish, if texts are missing from the file. */
    std::optional<ViewFailure> Failure() const override { return m_failure; }

  private:
    void Flush();
    std::optional<CallError> FlushNext();
    std::optional<CallError> OpenFile();
    std::string Lead() const;
    std::optional<CallError> Append(const std::string& text);
    void CheckRotation(size_t more);
    std::string Read(uint64_t from, size_t size) const;

    const GrowingFileOptions m_options;
    CWriteTrouble m_trouble;
    CWriteTrouble m_rotationTrouble;
    const IFileFrame* m_frame = nullptr;
    /** Null at rest. */
    CUniqueHandle m_file;
    uint64_t m_size = 0;
    /** The file ends in the middle of a line: its writer was ended there. */
    bool m_isLineOpen = false;
    uint64_t m_rotateAt;
    std::deque<std::string> m_pending;
    size_t m_pendingBytes = 0;
    uint64_t m_lost = 0;
    std::optional<ViewFailure> m_failure;
};

}  // namespace zorvane
