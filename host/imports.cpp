#include "host/imports.h"

#include <windows.h>

#include <cstring>

namespace {

// A file mapped as an image, that is at its relative virtual addresses.
class CMappedImage {
  public:
    explicit CMappedImage(const std::wstring& path)
        : m_module(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE)) {
        if (!m_module) {
            return;
        }
        // The lowest bits of the handle say how the file was mapped.
        m_base =
            reinterpret_cast<const char*>(reinterpret_cast<ULONG_PTR>(m_module) & ~ULONG_PTR{3});
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(m_base);
        const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(m_base + dos->e_lfanew);
        const IMAGE_OPTIONAL_HEADER64& optional = headers->OptionalHeader;
        if (optional.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC) {
            m_size = optional.SizeOfImage;
            m_imports = optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        }
    }
    ~CMappedImage() {
        if (m_module) {
            FreeLibrary(m_module);
        }
    }
    CMappedImage(const CMappedImage&) = delete;
    CMappedImage& operator=(const CMappedImage&) = delete;

    // The relative virtual address of the import table; 0 when there is none.
    DWORD Imports() const { return m_imports; }

    // `size` bytes at a relative virtual address, null when they do not lie in the image.
    const char* At(DWORD address, size_t size) const {
        return size <= m_size && address <= m_size - size ? m_base + address : nullptr;
    }

    // The 8-bit text at a relative virtual address; empty when it does not end in the image.
    std::string TextAt(DWORD address) const {
        if (address >= m_size) {
            return {};
        }
        const size_t room = m_size - address;
        const size_t length = strnlen(m_base + address, room);
        return length < room ? std::string(m_base + address, length) : std::string();
    }

  private:
    HMODULE m_module;
    const char* m_base = nullptr;
    DWORD m_size = 0;
    DWORD m_imports = 0;
};

}  // namespace

std::vector<std::wstring> ImportedLibraries(const std::wstring& path) {
    std::vector<std::wstring> names;
    const CMappedImage image(path);
    for (DWORD address = image.Imports(); address != 0;
         address += static_cast<DWORD>(sizeof(IMAGE_IMPORT_DESCRIPTOR))) {
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
