#include "monitor/outputs/growingfile.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "base/textstream.h"
#include "monitor/outputs/fileerror.h"
#include "monitor/outputs/rotation.h"

namespace zorvane {
namespace {

uint64_t CountLines(std::string_view text) {
    return static_cast<uint64_t>(std::count(text.begin(), text.end(), '\n'));
}

}  // namespace

CGrowingFile::CGrowingFile(GrowingFileOptions options, INotes& notes, std::function<Moment()> clock)
    : m_options(std::move(options)),
      m_trouble(notes, ToUtf8(m_options.path), clock),
      m_rotationTrouble(notes, ToUtf8(m_options.path), std::move(clock)),
      m_rotateAt(m_options.rotateAt) {}

std::optional<std::string> CGrowingFile::Open(const std::string& firstLine) {
    if (const auto error = OpenFile()) {
        return Describe(*error);
    }
    const std::string begin = Read(0, firstLine.size() + 2);
    Rest();
    const std::string name = ToUtf8(m_options.path);
    if (begin.starts_with("\xFF\xFE") || begin.starts_with("\xFE\xFF")) {
        return name + " is UTF-16 text, to which no UTF-8 can be added";
    }
    const bool isOther = !begin.starts_with(firstLine) ||
                         begin.find_first_of("\r\n", firstLine.size()) != firstLine.size();
    if (!firstLine.empty() && m_size > 0 && isOther) {
        return name +
               " has other columns, or is no CSV file; rows can be added to one with the "
               "first line " +
               firstLine;
    }
    return std::nullopt;
}

void CGrowingFile::Write(std::string_view text) {
    if (m_pendingBytes + text.size() > kMostPending) {
        m_lost += CountLines(text);
        return;
    }
    m_pendingBytes += text.size();
    m_pending.emplace_back(text);
    if (!m_trouble.IsTooEarly()) {
        Flush();
    }
}

void CGrowingFile::Finish() {
    Flush();
    Rest();
    for (const std::string& text : m_pending) {
        m_lost += CountLines(text);
    }
    if (m_lost > 0) {
        const CallError& error = m_trouble.LastError();
        m_failure = ViewFailure{
            {fmt::format("{} lines are missing from the file; {}", m_lost, error.call), error.code},
            false};
    }
}

void CGrowingFile::Flush() {
    while (!m_pending.empty()) {
        if (const auto error = FlushNext()) {
            Rest();
            m_trouble.OnFailure(*error);
            return;
        }
    }
    m_trouble.OnSuccess();
}

std::optional<CallError> CGrowingFile::FlushNext() {
    if (!m_file) {
        if (auto error = OpenFile()) {
            return error;
        }
    }
    const std::string& text = m_pending.front();
    CheckRotation(text.size());
    if (!m_file) {
        if (auto error = OpenFile()) {
            return error;
        }
    }
    if (auto error = Append(Lead() + text)) {
        return error;
    }
    m_isLineOpen = false;
    m_pendingBytes -= text.size();
    m_pending.pop_front();
    return std::nullopt;
}

std::optional<CallError> CGrowingFile::OpenFile() {
    m_file =
        OwnFile(CreateFileW(m_options.path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                            nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!m_file) {
        return LastFileError("CreateFileW", m_options.path);
    }
    // A pipe or device has no size.
    GetFileSizeEx(m_file.get(), &size);
    m_size = static_cast<uint64_t>(size.QuadPart);
    m_isLineOpen = m_size > 0 && Read(m_size - 1, 1) != "\n";
    SetFilePointerEx(m_file.get(), size, nullptr, FILE_BEGIN);
    return std::nullopt;
}

// What has to stand in front of the next text.
std::string CGrowingFile::Lead() const {
    if (m_isLineOpen) {
        return "\n";
    }
    return m_size == 0 && m_frame ? m_frame->Head() : "";
}

std::optional<CallError> CGrowingFile::Append(const std::string& text) {
    auto error = WriteText(m_file.get(), text);
    if (!error) {
        m_size += text.size();
        return std::nullopt;
    }
    error->call += " " + ToUtf8(m_options.path);
    LARGE_INTEGER end{};
    end.QuadPart = static_cast<LONGLONG>(m_size);
    if (SetFilePointerEx(m_file.get(), end, nullptr, FILE_BEGIN)) {
        SetEndOfFile(m_file.get());
    }
    return error;
}

void CGrowingFile::CheckRotation(size_t more) {
    if (m_rotateAt == 0 || m_size == 0 || m_size + more <= m_rotateAt) {
        return;
    }
    Rest();
    if (const auto error = Rotate(m_options.path, m_options.keep)) {
        // Not tried at every line.
        m_rotateAt = m_size + more + m_options.rotateAt / 16;
        m_rotationTrouble.OnFailure(*error);
        return;
    }
    m_rotateAt = m_options.rotateAt;
    m_rotationTrouble.OnSuccess();
    const std::string tail = m_frame ? m_frame->Tail() : "";
    const CUniqueHandle before =
        OwnFile(CreateFileW(NumberedPath(m_options.path, 1).c_str(), FILE_APPEND_DATA,
                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    // A part without its tail can be read as well, as one that was cut off.
    if (before) {
        WriteText(before.get(), tail);
    }
}

std::string CGrowingFile::Read(uint64_t from, size_t size) const {
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(from);
    std::string bytes(size, '\0');
    DWORD got = 0;
    if (!SetFilePointerEx(m_file.get(), position, nullptr, FILE_BEGIN) ||
        !ReadFile(m_file.get(), bytes.data(), static_cast<DWORD>(size), &got, nullptr)) {
        got = 0;
    }
    bytes.resize(got);
    return bytes;
}

}  // namespace zorvane
