#include "monitor/doctor/sha256.h"

#include <windows.h>

#include <bcrypt.h>
#include <fmt/format.h>

#include <memory>
#include <type_traits>
#include <vector>

#include "base/handle.h"

namespace zorvane {
namespace {

constexpr size_t kHashSize = 32;

struct CAlgorithmCloser {
    void operator()(void* algorithm) const { BCryptCloseAlgorithmProvider(algorithm, 0); }
};

struct CHashDestroyer {
    void operator()(void* hash) const { BCryptDestroyHash(hash); }
};

bool HashAll(HANDLE file, BCRYPT_HASH_HANDLE hash) {
    std::vector<UCHAR> part(size_t{1024} * 1024);
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(file, part.data(), static_cast<DWORD>(part.size()), &read, nullptr)) {
            return false;
        }
        if (read == 0) {
            return true;
        }
        if (BCryptHashData(hash, part.data(), read, 0) < 0) {
            return false;
        }
    }
}

}  // namespace

std::optional<std::string> FileSha256(const std::wstring& path) {
    const CUniqueHandle file = OwnFile(CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    BCRYPT_ALG_HANDLE algorithm = nullptr;
    if (!file || BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA256_ALGORITHM, nullptr, 0) < 0) {
        return std::nullopt;
    }
    const std::unique_ptr<void, CAlgorithmCloser> algorithmOwner(algorithm);
    BCRYPT_HASH_HANDLE hash = nullptr;
    if (BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0) < 0) {
        return std::nullopt;
    }
    const std::unique_ptr<void, CHashDestroyer> hashOwner(hash);
    UCHAR digest[kHashSize] = {};
    if (!HashAll(file.get(), hash) || BCryptFinishHash(hash, digest, kHashSize, 0) < 0) {
        return std::nullopt;
    }
    std::string text;
    for (const UCHAR byte : digest) {
        text += fmt::format("{:02x}", byte);
    }
    return text;
}

}  // namespace zorvane
