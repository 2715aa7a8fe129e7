#include "base/librarysearch.h"

#include <windows.h>

namespace zorvane {

void NarrowLibrarySearch() {
    // For calls that ask for the old search order by name: that one leaves the current folder out.
    SetDllDirectoryW(L"");
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

}  // namespace zorvane
