#include "monitor/outputs/replacedfile.h"

#include <utility>

#include "base/handle.h"
#include "base/text.h"
#include "base/textstream.h"
#include "monitor/outputs/fileerror.h"

namespace zorvane {
namespace {

// Another program has the file open, or Windows says so by the code that it has for all refusals.
bool IsPerhapsInUse(const CallError& error) {
    return error.code == ERROR_SHARING_VIOLATION || error.code == ERROR_ACCESS_DENIED;
}

std::optional<CallError> WriteNewFile(const std::wstring& path, std::string_view text) {
    const CUniqueHandle file = OwnFile(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr,
                                                   CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return LastFileError("CreateFileW", path);
    }
    auto error = WriteText(file.get(), text);
    if (error) {
        error->call += " " + ToUtf8(path);
    }
    return error;
}

}  // namespace

CReplacedFile::CReplacedFile(std::wstring path, INotes& notes, std::function<Moment()> clock)
    : m_path(std::move(path)), m_trouble(notes, ToUtf8(m_path), std::move(clock)) {}

std::optional<CallError> CReplacedFile::Open() { return ReplacePatiently(""); }

void CReplacedFile::Write(std::string_view text) {
    // Scrapers hold the file for a moment.
    constexpr int kOrdinaryRefusals = 2;
    m_pending = text;
    if (m_trouble.IsTooEarly()) {
        return;
    }
    const auto error = Replace(text);
    if (!error) {
        m_pending.reset();
        m_refusals = 0;
        m_trouble.OnSuccess();
    } else if (!IsPerhapsInUse(*error) || ++m_refusals > kOrdinaryRefusals) {
        m_trouble.OnFailure(*error);
    }
}

void CReplacedFile::Finish() {
    if (!m_pending) {
        return;
    }
    if (const auto error = ReplacePatiently(*m_pending)) {
        m_failure = ViewFailure{*error, false};
        return;
    }
    m_pending.reset();
    m_trouble.OnSuccess();
}

std::optional<CallError> CReplacedFile::ReplacePatiently(std::string_view text) const {
    constexpr int kTries = 20;
    constexpr DWORD kPauseMs = 50;
    auto error = Replace(text);
    for (int i = 1; i < kTries && error && IsPerhapsInUse(*error); ++i) {
        Sleep(kPauseMs);
        error = Replace(text);
    }
    return error;
}

std::optional<CallError> CReplacedFile::Replace(std::string_view text) const {
    const std::wstring temporary = m_path + L".tmp";
    auto error = WriteNewFile(temporary, text);
    if (!error && !MoveFileExW(temporary.c_str(), m_path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        error = LastFileError("MoveFileExW", m_path);
    }
    if (error) {
        DeleteFileW(temporary.c_str());
    }
    return error;
}

}  // namespace zorvane
