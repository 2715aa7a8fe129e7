#include "imports.h"

#include <windows.h>

#include <cstring>

namespace {

// A file mapped as an image, that is at its relative virtual addresses.
class CMappedImage {
  public:
    explicit CMappedImage(const std::wstring& path)
        : m_module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {}
    ~CMappedImage() {
        if (m_module) {
            FreeLibrary(m_module);
        }
    }
    CMappedImage(const CMappedImage&) = delete;
    CMappedImage& operator=(const CMappedImage&) = delete;

    // Null when there is no image or its headers are not those of a 64-bit one.
    const IMAGE_NT_HEADERS64* Headers() const {
        if (!m_module) {
            return nullptr;
        }
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(Base());
        const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(Base() + dos->e_lfanew);
        return headers->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC ? headers : nullptr;
    }

    // `size` bytes at a relative virtual address, null when they do not lie in the image.
    const char* At(DWORD address, size_t size) const {
        const DWORD imageSize = Headers()->OptionalHeader.SizeOfImage;
        return size <= imageSize && address <= imageSize - size ? Base() + address : nullptr;
    }

    // The 8-bit text at a relative virtual address; empty when it does not end in the image.
    std::string TextAt(DWORD address) const {
        const DWORD imageSize = Headers()->OptionalHeader.SizeOfImage;
        if (address >= imageSize) {
            return {};
        }
        const size_t room = imageSize - address;
        const size_t length = strnlen(Base() + address, room);
        return length < room ? std::string(Base() + address, length) : std::string();
    }

  private:
    // The lowest bits of the handle say how the file was mapped.
    const char* Base() const {
        return reinterpret_cast<const char*>(reinterpret_cast<ULONG_PTR>(m_module) & ~ULONG_PTR{3});
    }

    HMODULE m_module;
};

}  // namespace

std::vector<std::wstring> ImportedLibraries(const std::wstring& path) {
    std::vector<std::wstring> names;
    const CMappedImage image(path);
    if (!image.Headers()) {
        return names;
    }
    DWORD address =
        image.Headers()->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (; address != 0; address += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
        const char* bytes = image.At(address, sizeof(IMAGE_IMPORT_DESCRIPTOR));
        if (!bytes) {
            break;
        }
        IMAGE_IMPORT_DESCRIPTOR descriptor;
        std::memcpy(&descriptor, bytes, sizeof(descriptor));
        const std::string name = descriptor.Name ? image.TextAt(descriptor.Name) : std::string();
        if (name.empty()) {
            break;
        }
        names.emplace_back(name.begin(), name.end());
    }
    return names;
}
