#include "host/keptcpuswitch.h"

#include <windows.h>

#include <shlobj.h>

#include <utility>

#include "base/text.h"
#include "host/reporterror.h"
#include "host/standin.h"

namespace {

// Empty when there is no such file.
std::optional<uint64_t> SizeOf(const std::wstring& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        return std::nullopt;
    }
    return uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
}

}  // namespace

CurableCauses FindCurableCauses() {
    // The library asks the same question.
    return {.standIn = IsStandInLoaded(), .noAdministrator = !IsUserAnAdmin()};
}

CKeptCpuSwitch::CKeptCpuSwitch(const CurableCauses& causes, zorvane::CCpuSwitch theSwitch)
    : m_causes(causes),
      m_switch(std::move(theSwitch)),
      m_wasOn(m_switch.IsOn()),
      m_value(m_switch.Value()),
      m_hadSection(m_switch.HasSection()),
      m_hadFile(SizeOf(m_switch.Path()).has_value()) {}

std::wstring CKeptCpuSwitch::Note() const {
    // A task that is switched off is not tried, so rights do not matter.
    const bool noAdministrator = m_causes.noAdministrator && m_wasOn;
    if (!m_causes.standIn && !noAdministrator) {
        return {};
    }
    std::wstring note = L"no CPU temperature in this run: ";
    if (m_causes.standIn) {
        note += L"the stand-in is used in place of AMD's Platform.dll";
    }
    if (noAdministrator) {
        note += m_causes.standIn ? L", and " : L"";
        note += L"the worker has no administrator rights";
    }
    return note;
}

void CKeptCpuSwitch::PutBack() const {
    if (!m_causes.Any() || !m_wasOn || m_switch.IsOn()) {
        return;
    }
    if (const auto error = m_switch.Set(m_value)) {
        ReportError(L"the CPU temperature stays switched off in " + m_switch.Path() + L": " +
                    zorvane::ToWide(zorvane::Describe(*error)));
        return;
    }
    if (!m_hadSection) {
        m_switch.RemoveEmptySection();
    }
    if (!m_hadFile && SizeOf(m_switch.Path()) == 0u) {
        DeleteFileW(m_switch.Path().c_str());
    }
}
