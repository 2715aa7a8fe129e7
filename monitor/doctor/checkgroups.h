/** The checks by what they are about, each group in a file of its own, and what they share. */
#pragma once

#include <span>

#include "monitor/doctor/check.h"

namespace zorvane {

std::span<const Check> FileChecks();
std::span<const Check> LogChecks();
std::span<const Check> GpuChecks();
std::span<const Check> CpuChecks();
std::span<const Check> DriverChecks();
std::span<const Check> RunChecks();

/**
 * Why the CPU temperature cannot be read here whatever anybody does, as a clause for a skipped
 * check; empty where it can.
 */
std::string NoCpuTemperature(const MachineFacts& facts);

/** False only where Windows lists no NVIDIA card and NVML is not installed either. */
bool MayHaveNvidia(const MachineFacts& facts);

/** A file's version, or that it has none. */
std::string VersionOf(const FileFacts& file);

/** "zorvanehost.exe (4242), mmc.exe (17)". */
std::string ListProcesses(const std::vector<ProcessFacts>& processes);

}  // namespace zorvane
