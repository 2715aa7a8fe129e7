/** Environment variables and the environment blocks of child processes. */
#pragma once

#include <string>
#include <vector>

namespace zorvane {

/** The value of a variable of this process; empty when it is not set. */
std::wstring EnvironmentVariable(const wchar_t* name);

/** Sets a variable; the name is compared without regard to letter case. */
struct EnvironmentChange {
    std::wstring name;
    std::wstring value;
};

/**
 * The block with the changes applied, sorted as Windows requires. `block` has the form that
 * GetEnvironmentStringsW returns: "name=value" texts, each with its NUL, and one more NUL. If two
 * changes have the same name, the last one counts.
 */
std::vector<wchar_t> ChangeEnvironment(const wchar_t* block,
                                       const std::vector<EnvironmentChange>& changes);

/** The calling process's environment with the changes applied. */
std::vector<wchar_t> ChangedOwnEnvironment(const std::vector<EnvironmentChange>& changes);

}  // namespace zorvane
