#include "base/peimage.h"

#include <utility>

namespace zorvane {

CPeImage CPeImage::OfModule(HMODULE module) {
    return {nullptr, reinterpret_cast<const char*>(module ? module : GetModuleHandleW(nullptr))};
}

CPeImage CPeImage::OfFile(const std::wstring& path) {
    CUniqueModule mapped(LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    // LoadLibraryExW marks how it mapped the file in the two lowest bits of the handle.
    const auto base = reinterpret_cast<ULONG_PTR>(mapped.get()) & ~ULONG_PTR{3};
    return {std::move(mapped), reinterpret_cast<const char*>(base)};
}

CPeImage::CPeImage(CUniqueModule mapped, const char* base)
    : m_mapped(std::move(mapped)), m_base(base) {
    if (!base) {
        return;
    }
    // The headers are sound: Windows checks them before it maps the file.
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    if (headers->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC) {
        m_headers = headers;
    }
}

std::vector<IMAGE_SECTION_HEADER> CPeImage::Sections() const {
    const auto* first = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
        reinterpret_cast<const char*>(&m_headers->OptionalHeader) +
        m_headers->FileHeader.SizeOfOptionalHeader);
    return {first, first + m_headers->FileHeader.NumberOfSections};
}

const char* CPeImage::At(DWORD address, size_t size) const {
    const DWORD imageSize = m_headers->OptionalHeader.SizeOfImage;
    return size <= imageSize && address <= imageSize - size ? m_base + address : nullptr;
}

std::string CPeImage::TextAt(DWORD address) const {
    const char* text = At(address, 1);
    if (!text) {
        return {};
    }
    const size_t room = m_headers->OptionalHeader.SizeOfImage - address;
    const size_t length = strnlen(text, room);
    return length < room ? std::string(text, length) : std::string();
}

std::vector<IMAGE_IMPORT_DESCRIPTOR> CPeImage::ImportDescriptors() const {
    std::vector<IMAGE_IMPORT_DESCRIPTOR> descriptors;
    DWORD address = Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress;
    while (address != 0) {
        const auto descriptor = Read<IMAGE_IMPORT_DESCRIPTOR>(address);
        if (!descriptor || descriptor->Name == 0 || TextAt(descriptor->Name).empty()) {
            break;
        }
        descriptors.push_back(*descriptor);
        address += static_cast<DWORD>(sizeof(*descriptor));
    }
    return descriptors;
}

std::vector<std::string> CPeImage::ImportedLibraries() const {
    std::vector<std::string> names;
    for (const IMAGE_IMPORT_DESCRIPTOR& descriptor : ImportDescriptors()) {
        names.push_back(TextAt(descriptor.Name));
    }
    return names;
}

std::vector<PeImport> CPeImage::Imports() const {
    constexpr DWORD kThunkSize = sizeof(ULONGLONG);
    std::vector<PeImport> imports;
    for (const IMAGE_IMPORT_DESCRIPTOR& descriptor : ImportDescriptors()) {
        const std::string library = TextAt(descriptor.Name);
        // Read the names from the lookup table: the loader overwrites the address table.
        DWORD name = descriptor.OriginalFirstThunk;
        DWORD entry = descriptor.FirstThunk;
        for (; const auto thunk = Read<ULONGLONG>(name); name += kThunkSize, entry += kThunkSize) {
            if (*thunk == 0) {
                break;
            }
            if (!IMAGE_SNAP_BY_ORDINAL64(*thunk)) {
                const auto hint = static_cast<DWORD>(*thunk);
                const DWORD text = hint + offsetof(IMAGE_IMPORT_BY_NAME, Name);
                imports.push_back({library, TextAt(text), entry});
            }
        }
    }
    return imports;
}

}  // namespace zorvane
