/**
 * Asking Windows about this machine. Nothing here changes anything, starts anything or runs a
 * vendor's code; what Windows does not tell stays as in the structs' first values.
 */
#pragma once

#include <string>

#include "monitor/doctor/facts.h"
#include "monitor/doctor/pendinganswer.h"

namespace zorvane {

/** Full paths of the worker's program and library. */
struct DoctorTarget {
    std::wstring host;
    std::wstring library;
};

/** With full paths, and the library beside the host where `library` is empty. */
DoctorTarget MakeDoctorTarget(const std::wstring& host, const std::wstring& library);

/** Everything but what a probe says. Takes a second or two. */
MachineFacts GatherFacts(const DoctorTarget& target);

// The parts, each in a file of its own.

/** A file without running any of its code. */
FileFacts GatherFile(const std::wstring& path);

/** The Platform.dll that a worker would load. */
PlatformFacts GatherPlatform(const DoctorTarget& target);

LogFacts GatherLog(const DoctorTarget& target);

GpuFacts GatherGpu(const DoctorTarget& target);

RightsFacts GatherRights();

/** Running processes whose program has one of these file names; letter case does not matter. */
std::vector<ProcessFacts> RunningPrograms(const std::vector<std::wstring>& names);

/** The process with this id, if it runs. */
std::optional<ProcessFacts> GatherProcess(uint32_t id);

SwitchFacts GatherSwitch(const DoctorTarget& target);

WindowsFacts GatherWindows();

/** The library's own question about Virtualization-Based Security, answered nothing if it fails. */
using VbsQuestion = CPendingAnswer<std::optional<uint32_t>>;

/** Once a process: a second one fails. */
VbsQuestion AskVbs();

/** Without VBS. */
CpuFacts GatherCpu();

DriverFacts GatherDriver(const DoctorTarget& target);

/** What stands behind the last separator. */
std::wstring FileNameOf(const std::wstring& path);

/** The 32-bit number of a registry value below HKEY_LOCAL_MACHINE. */
std::optional<uint32_t> MachineNumber(const wchar_t* key, const wchar_t* name);

/** UTF-8 on one line: control characters become "?". */
std::string OneLine(std::wstring text);

}  // namespace zorvane
