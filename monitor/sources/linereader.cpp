#include "monitor/sources/linereader.h"

#include "base/text.h"

namespace zorvane {

std::optional<CallError> CLineReader::Open(const std::wstring& path) {
    // Shared, because a recording may be replayed while it is still being written, or be renamed.
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        CallError error = LastCallError("CreateFileW");
        error.call += " " + ToUtf8(path);
        return error;
    }
    m_file.reset(file);
    return std::nullopt;
}

// False at the end of the file.
bool CLineReader::Fill() {
    constexpr size_t kPiece = 65536;
    m_buffer.erase(0, m_taken);
    m_taken = 0;
    const size_t had = m_buffer.size();
    m_buffer.resize(had + kPiece);
    DWORD got = 0;
    if (!ReadFile(m_file.get(), m_buffer.data() + had, kPiece, &got, nullptr)) {
        m_failure = LastCallError("ReadFile");
    }
    m_buffer.resize(had + got);
    return got > 0;
}

std::optional<TextLine> CLineReader::Next() {
    size_t end = m_buffer.find('\n', m_taken);
    while (end == std::string::npos && m_buffer.size() - m_taken <= kLongestLine && Fill()) {
        end = m_buffer.find('\n', m_taken);
    }
    if (m_failure || m_taken == m_buffer.size()) {
        return std::nullopt;
    }
    TextLine line{m_buffer.substr(m_taken, end == std::string::npos ? end : end - m_taken),
                  end != std::string::npos, ++m_lines};
    m_taken = end == std::string::npos ? m_buffer.size() : end + 1;
    if (line.isWhole && line.text.ends_with('\r')) {
        line.text.pop_back();
    }
    return line;
}

}  // namespace zorvane
