/** Where Windows looks for the libraries of a process. */
#pragma once

namespace zorvane {

/**
 * Takes the current folder and PATH out of the search for libraries, so that nobody can plant one
 * for a process that runs elevated. The program's folder, the system folder and folders added with
 * AddDllDirectory remain. Call it first in main.
 */
void NarrowLibrarySearch();

}  // namespace zorvane
