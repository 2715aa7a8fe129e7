/** Where Windows looks for the libraries of a process. */
#pragma once

namespace zorvane {

/**
 * Keeps the current folder and PATH out of every later search for a library, so that nobody can
 * plant one for a process that runs elevated. What is left is the program's folder, the system's,
 * and the folders given to AddDllDirectory. Called first thing in main.
 */
void NarrowLibrarySearch();

}  // namespace zorvane
