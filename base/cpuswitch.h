/** The switch of the CPU temperature, in a settings file that the utility's programs share. */
#pragma once

#include <optional>
#include <string>

#include "base/callerror.h"

namespace zorvane {

/**
 * Section "cpu_kernel", key "sdk_flag" of "Qorvella.set" beside a host program. The library reads
 * it at the start of a run and writes 0 when the CPU temperature cannot be read; nothing but people
 * and these programs switches it on again.
 */
class CCpuSwitch {
  public:
    /** `hostFolder` is the folder of the host program, with a separator at its end. */
    explicit CCpuSwitch(const std::wstring& hostFolder);

    /** The settings file, which need not exist. */
    const std::wstring& Path() const { return m_path; }

    /** As the library reads it: any number but 0, or none. */
    bool IsOn() const;

    /** The key's text; empty when the file, the section or the key is missing. */
    std::optional<std::wstring> Value() const;

    /** Writes the key; without a value removes it. Returns the error if it fails. */
    [[nodiscard]] std::optional<CallError> Set(const std::optional<std::wstring>& value) const;

    /** Whether the file has the section. */
    bool HasSection() const;

    /** Removes the section if no key is left in it. */
    void RemoveEmptySection() const;

  private:
    std::wstring m_path;
};

}  // namespace zorvane
