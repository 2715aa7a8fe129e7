/** A file that always holds the last state as a whole. */
#pragma once

#include <functional>
#include <string>

#include "monitor/outputs/textoutput.h"
#include "monitor/outputs/writetrouble.h"

namespace zorvane {

/**
 * Each Write replaces the file's content: the text goes to FILE.tmp beside it, which is then
 * renamed. So a reader never sees half a text. While that fails the file keeps its content, and the
 * next Write tries again; a reader that has the file open may hold two of them up before anything
 * is said.
 */
class CReplacedFile : public ITextOutput {
  public:
    /** `notes` outlives the file. */
    CReplacedFile(std::wstring path, INotes& notes, std::function<Moment()> clock = ReadMoment);

    /** Empties the file, or makes it: the error if it cannot be written. */
    [[nodiscard]] std::optional<CallError> Open();

    void SetFrame(const IFileFrame&) override {}
    void Write(std::string_view text) override;

    /** Tries for a second to write what could not be written. */
    void Finish() override;

    /** After Finish, if the file still has not got its last text. */
    std::optional<ViewFailure> Failure() const override { return m_failure; }

  private:
    std::optional<CallError> ReplacePatiently(std::string_view text) const;
    std::optional<CallError> Replace(std::string_view text) const;

    const std::wstring m_path;
    CWriteTrouble m_trouble;
    /** Times in a row that a reader was in the way. */
    int m_refusals = 0;
    /** What could not be written. */
    std::optional<std::string> m_pending;
    std::optional<ViewFailure> m_failure;
};

}  // namespace zorvane
