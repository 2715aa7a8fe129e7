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
 * The block with the changes made, sorted as Windows wants it. `block` is of the form that
 * GetEnvironmentStringsW gives: texts "name=value", each with its NUL, and one more NUL. Of two
 * changes of one name the later holds.
 */
std::vector<wchar_t> ChangeEnvironment(const wchar_t* block,
                                       const std::vector<EnvironmentChange>& changes);

/** The calling process's environment with the changes made. */
std::vector<wchar_t> ChangedOwnEnvironment(const std::vector<EnvironmentChange>& changes);

}  // namespace zorvane
