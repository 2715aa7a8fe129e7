/** Reading 64-bit PE images: programs, libraries and drivers. */
#pragma once

#include <windows.h>

#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "base/handle.h"

namespace zorvane {

/** One function that an image imports by name. */
struct PeImport {
    /** As the import table spells it, "KERNEL32.dll". */
    std::string library;
    std::string function;
    /** Where the loader writes the function's address: the address of that entry. */
    DWORD entry = 0;
};

/**
 * An image as it lies in memory. Addresses are relative to its base. Nothing that the image says of
 * itself is trusted: what does not lie within it reads as missing.
 */
class CPeImage {
  public:
    /** A module of this process, which must stay loaded; null: the program. */
    static CPeImage OfModule(HMODULE module);

    /** Maps a file without running anything of it. Invalid when it is no 64-bit image. */
    static CPeImage OfFile(const std::wstring& path);

    bool IsValid() const { return m_headers != nullptr; }

    /** Only of a valid image, as all that follows. */
    const IMAGE_NT_HEADERS64& Headers() const { return *m_headers; }

    /** `entry` is one of IMAGE_DIRECTORY_ENTRY_*. */
    const IMAGE_DATA_DIRECTORY& Directory(size_t entry) const {
        return m_headers->OptionalHeader.DataDirectory[entry];
    }

    std::vector<IMAGE_SECTION_HEADER> Sections() const;

    /** Null when `size` bytes from `address` on do not lie in the image. */
    const char* At(DWORD address, size_t size) const;

    /** A copy of the structure at `address`, if all of it lies in the image. */
    template <typename Structure>
    std::optional<Structure> Read(DWORD address) const {
        static_assert(std::is_trivially_copyable_v<Structure>);
        const char* bytes = At(address, sizeof(Structure));
        if (!bytes) {
            return std::nullopt;
        }
        Structure structure;
        std::memcpy(&structure, bytes, sizeof(structure));
        return structure;
    }

    /** The 8-bit text at `address`; empty when its end does not lie in the image. */
    std::string TextAt(DWORD address) const;

    /**
     * Names of the imported libraries in the order of the import table; those before its damage
     * when it is damaged.
     */
    std::vector<std::string> ImportedLibraries() const;

    /** All functions imported by name, in the order of the import table. */
    std::vector<PeImport> Imports() const;

  private:
    CPeImage(CUniqueModule mapped, const char* base);

    std::vector<IMAGE_IMPORT_DESCRIPTOR> ImportDescriptors() const;

    CUniqueModule m_mapped;
    const char* m_base = nullptr;
    const IMAGE_NT_HEADERS64* m_headers = nullptr;
};

}  // namespace zorvane
