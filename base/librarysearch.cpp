#include "base/librarysearch.h"

#include <windows.h>

namespace zorvane {

void NarrowLibrarySearch() {
    // For calls that request the old search order explicitly: leave the current folder out of it
    // too.
    SetDllDirectoryW(L"");
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

}  // namespace zorvane
