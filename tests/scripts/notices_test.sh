#!/usr/bin/env bash
# The notices that go into the packages name everything that is linked in.
# Usage: notices_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
source=$1
notices="$(dirname "$2")/../packaging/NOTICES.txt"

# has_terms TEXT ...: the notices contain each of these.
has_terms() {
    local text
    for text in "$@"; do
        grep -qF "$text" "$notices" || { echo "not in the notices: $text" >&2; return 1; }
    done
}

# Each library whose headers the shipped programs include has an entry in cmake/Notices.cmake.
every_library_is_listed() {
    local library missing=0
    while read -r library; do
        grep -qF "|$library|" "$source/cmake/Notices.cmake" ||
            { echo "no notice for <$library/...>" >&2; missing=1; }
    done < <(cd "$source" && grep -rhoE '^#include <[A-Za-z0-9_]+/' base client host monitor platform-standin src |
                 sed -E 's/.*<(.*)\//\1/' | sort -u | grep -vx sys)
    return "$missing"
}

test_case Notices.HaveTheTermsOfTheCompilersRuntime has_terms 'GCC RUNTIME LIBRARY EXCEPTION' mingw-w64 winpthreads
test_case Notices.HaveTheTermsOfTheLibraries has_terms 'Victor Zverovich' 'University of Cincinnati' 'Niels Lohmann'
test_case Notices.ListEveryLibraryThatIsIncluded every_library_is_listed
write_results "$2"
