#include <windows.h>

#include "base/fileversion.h"
#include "base/modulepath.h"
#include "base/peimage.h"
#include "base/systemfolder.h"
#include "base/text.h"
#include "monitor/doctor/gather.h"

namespace zorvane {
namespace {

constexpr wchar_t kPlatformName[] = L"Platform.dll";
constexpr char kPlatformExport[] = "?GetPlatform@@YAAEAVIPlatform@@XZ";
// As its version resource has it.
constexpr char kStandInDescription[] = "Stand-in for AMD's monitoring library";
// Where the package has it, from the host program.
constexpr wchar_t kStandInFile[] = L"platform-standin\\Platform.dll";

bool Is64BitImage(const CPeImage& image) {
    return image.IsValid() && image.Headers().FileHeader.Machine == IMAGE_FILE_MACHINE_AMD64;
}

bool Exports(const CPeImage& image, const std::string& name) {
    const DWORD table = image.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress;
    const auto directory = image.Read<IMAGE_EXPORT_DIRECTORY>(table);
    if (table == 0 || !directory) {
        return false;
    }
    for (DWORD i = 0; i < directory->NumberOfNames; ++i) {
        const auto text = image.Read<DWORD>(directory->AddressOfNames + i * DWORD{sizeof(DWORD)});
        if (!text) {
            return false;
        }
        if (image.TextAt(*text) == name) {
            return true;
        }
    }
    return false;
}

PlatformKind KindOf(const std::wstring& path, const FileFacts& file) {
    if (!file.exists) {
        return PlatformKind::kMissing;
    }
    const CPeImage image = CPeImage::OfFile(path);
    if (!Is64BitImage(image) || !Exports(image, kPlatformExport)) {
        return PlatformKind::kUnusable;
    }
    return file.description == kStandInDescription ? PlatformKind::kStandIn : PlatformKind::kVendor;
}

}  // namespace

FileFacts GatherFile(const std::wstring& path) {
    FileFacts file;
    file.path = OneLine(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) ||
        (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        return file;
    }
    file.exists = true;
    file.size = uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
    file.written = FromFileTime(uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32 |
                                data.ftLastWriteTime.dwLowDateTime);
    file.isImage = Is64BitImage(CPeImage::OfFile(path));
    if (const auto version = ReadFileVersion(path)) {
        file.version = version->number;
        file.description = OneLine(ToWide(version->description));
    }
    return file;
}

PlatformFacts GatherPlatform(const DoctorTarget& target) {
    PlatformFacts platform;
    // In Windows' order of search.
    for (const std::wstring& folder :
         {FolderOf(target.library), FolderOf(target.host), SystemFolder()}) {
        const std::wstring path = folder + kPlatformName;
        platform.file = GatherFile(path);
        if (platform.file.exists) {
            platform.kind = KindOf(path, platform.file);
            return platform;
        }
    }
    const std::wstring standIn = FolderOf(target.host) + kStandInFile;
    const FileFacts file = GatherFile(standIn);
    platform.kind = KindOf(standIn, file);
    platform.comesWithHost = platform.kind == PlatformKind::kStandIn;
    platform.file =
        platform.comesWithHost ? file : GatherFile(FolderOf(target.library) + kPlatformName);
    return platform;
}

}  // namespace zorvane
