#include "host/nvmlchoice.h"

#include <windows.h>

std::optional<NvmlChoice> ParseNvmlChoice(std::wstring_view text) {
    constexpr struct {
        std::wstring_view name;
        NvmlChoice choice;
    } kNames[] = {{L"auto", NvmlChoice::kAuto},
                  {L"system", NvmlChoice::kSystem},
                  {L"fixed", NvmlChoice::kFixed}};
    for (const auto& row : kNames) {
        if (CompareStringOrdinal(text.data(), static_cast<int>(text.size()), row.name.data(),
                                 static_cast<int>(row.name.size()), TRUE) == CSTR_EQUAL) {
            return row.choice;
        }
    }
    return std::nullopt;
}

bool IsSystemNvmlWanted(NvmlChoice choice, const NvmlFiles& files) {
    return files.system &&
           (choice == NvmlChoice::kSystem || (choice == NvmlChoice::kAuto && !files.fixed));
}
