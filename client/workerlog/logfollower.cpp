#include "client/workerlog/logfollower.h"

#include <algorithm>

#include "base/handle.h"

namespace zorvane {
namespace {

// Longer than the stamp of a line.
constexpr size_t kAnchorLength = 128;

CUniqueHandle OpenShared(const std::wstring& path) {
    return OwnFile(CreateFileW(path.c_str(), GENERIC_READ,
                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                               OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

std::optional<uint64_t> SizeOf(HANDLE file) {
    LARGE_INTEGER size{};
    return GetFileSizeEx(file, &size)
               ? std::optional<uint64_t>(static_cast<uint64_t>(size.QuadPart))
               : std::nullopt;
}

// Up to `length` bytes; fewer at the end of the file.
std::optional<std::string> ReadAt(HANDLE file, uint64_t offset, size_t length) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    std::string bytes(length, '\0');
    DWORD read = 0;
    if (!ReadFile(file, bytes.data(), static_cast<DWORD>(length), &read, &place) &&
        GetLastError() != ERROR_HANDLE_EOF) {
        return std::nullopt;
    }
    bytes.resize(read);
    return bytes;
}

}  // namespace

void CLogFollower::Follow(const std::wstring& path) {
    *this = CLogFollower();
    m_path = path;
}

void CLogFollower::SkipToEnd() {
    const CUniqueHandle file = OpenShared(m_path);
    const auto size = file ? SizeOf(file.get()) : std::nullopt;
    if (!size) {
        return;
    }
    const auto length = static_cast<size_t>(std::min<uint64_t>(*size, kAnchorLength));
    const auto anchor = ReadAt(file.get(), *size - length, length);
    if (anchor && anchor->size() == length) {
        m_offset = *size;
        m_anchor = *anchor;
    }
}

std::vector<std::string> CLogFollower::Read() {
    m_hasMore = false;
    m_failure.reset();
    const CUniqueHandle file = OpenShared(m_path);
    const auto size = file ? SizeOf(file.get()) : std::nullopt;
    if (!size) {
        m_failure = GetLastError();
        return {};
    }
    const auto isSame = IsSameFile(file.get(), *size);
    if (!isSame) {
        m_failure = GetLastError();
        return {};
    }
    if (!*isSame) {
        m_offset = *size - std::min(*size, kLongestPast);
        m_anchor.clear();
        m_unfinished.clear();
    }
    const auto bytes = ReadAt(file.get(), m_offset, kMostAtOnce);
    if (!bytes) {
        m_failure = GetLastError();
        return {};
    }
    Take(*bytes);
    m_hasMore = m_offset < *size;
    return WholeLines();
}

std::optional<bool> CLogFollower::IsSameFile(HANDLE file, uint64_t size) {
    if (m_anchor.empty() || size < m_offset) {
        return false;
    }
    const auto bytes = ReadAt(file, m_offset - m_anchor.size(), m_anchor.size());
    return bytes ? std::optional(*bytes == m_anchor) : std::nullopt;
}

void CLogFollower::Take(std::string_view bytes) {
    m_offset += bytes.size();
    m_unfinished += bytes;
    m_anchor += bytes;
    m_anchor.erase(0, m_anchor.size() - std::min(m_anchor.size(), kAnchorLength));
}

std::vector<std::string> CLogFollower::WholeLines() {
    std::vector<std::string> lines;
    size_t begin = 0;
    for (size_t end = m_unfinished.find('\n'); end != std::string::npos;
         end = m_unfinished.find('\n', begin)) {
        std::string line = m_unfinished.substr(begin, end - begin);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        lines.push_back(std::move(line));
        begin = end + 1;
    }
    m_unfinished.erase(0, begin);
    // No worker writes such a line. What follows of it is given as another, which is none.
    if (m_unfinished.size() > kMostAtOnce) {
        m_unfinished.clear();
    }
    return lines;
}

}  // namespace zorvane
