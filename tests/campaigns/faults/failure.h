/** How each function that the library calls fails. */
#pragma once

#include <cstdint>
#include <string>

/** One function. */
struct Failure {
    const char* function;
    /** It has no failure, or none that a caller could see; its calls are counted only. */
    bool cannotFail;
    /** What it answers. */
    uint64_t answer;
    /** The last error that it leaves; 0: the function has none. */
    uint32_t lastError;
    /** Part of the log line by which the library tells of the first call's failure; may be null. */
    const char* tells;
};

/** Null for a function that is not in the list. */
const Failure* FindFailure(const std::string& function);

/** True when failing every call from one on is a fault that the worker is meant to go on with. */
bool MayFailForGood(const Failure& failure);

/** True for functions that answer when there is no memory. */
bool IsAllocation(const std::string& function);

/** Fails one call: sets the last error and `errno`, and writes what a failed call writes. */
uint64_t Fail(const Failure& failure, uint64_t* arguments);
