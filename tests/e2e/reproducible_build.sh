#!/usr/bin/env bash
# Builds the DLLs a second time, in another folder, and compares: the same sources give the same
# bytes. Usage: reproducible_build.sh SOURCE_FOLDER FOLDER_OF_THE_DLLS RESULTS_FILE
set -euo pipefail
# A compiler cache would compare one result with itself, or give the paths of another folder.
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER
source=$1
built=$2
results=$3

copy="$(dirname "$results")/../reproduced/another place"
rm -rf "$copy"
mkdir -p "$copy"
(cd "$source" && git ls-files -z -co --exclude-standard 2>/dev/null || find . -path ./build -prune -o -type f -print0) |
    (cd "$source" && xargs -0 cp --parents -t "$copy")

libraries=(Zorvane zorvaneclient)
same_files() {
    local library
    for library in "${libraries[@]}"; do
        cmp "$built/$library.dll" "$copy/build/release/bin/$library.dll" &&
            cmp "$built/$library.dll.debug" "$copy/build/release/bin/$library.dll.debug" || return 1
    done
}

verdict='<failure message="the build differs"/>'
if cmake -S "$copy" --preset release >/dev/null &&
    (cd "$copy" && cmake --build --preset release --target "${libraries[@]}" >/dev/null) &&
    same_files; then
    verdict=
fi
rm -rf "$copy"
printf '<testsuites><testcase name="ReproducibleBuild.GivesTheSameBytesInAnotherFolder">%s</testcase></testsuites>\n' \
    "$verdict" >"$results"
[ -z "$verdict" ]
