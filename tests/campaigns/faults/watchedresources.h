/** What the library opens, closes, locks and unlocks. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

/**
 * Stands between the module's import table and Windows, and follows handles, memory and locks from
 * now on, on all threads. Put it in before the traps, so that only calls that reach Windows count.
 */
void WatchResources(HMODULE module);

/** What was closed or freed that was not open; each as one line. */
std::vector<std::string> WrongReleases();

/** How many things of a kind are open. */
struct OpenResources {
    const char* kind;
    size_t count;
};

/** What is open now, by kind. */
std::vector<OpenResources> OpenNow();

/** True when every lock that was taken has been released. */
bool AreAllLocksFree();
