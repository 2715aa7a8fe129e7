#!/usr/bin/env bash
# The package as a stranger uses it: unpacked in a folder with a blank in its name, each example is
# compiled with nothing but what lies there, by the lines of its README and by its build file.
# Usage: package_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
source=$1
build=$(cd "$(dirname "$2")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
package="$work/un packed"
cmake --install "$build" --component runtime --prefix "$package" >"$work/install.log" ||
    { cat "$work/install.log" >&2; exit 1; }

# compiles COMPILER SOURCE PROGRAM: the README's line for this source makes the program.
compiles() {
    local line
    command -v "$1" >/dev/null || return 77
    line=$(cd "$package" && tr -d '\r' <README.txt | grep -E "^  $1 .*examples.$2 ") || return 1
    line=${line//\\//}
    rm -f "$package/$3"
    # A clang of the distribution does not find the folder of its compiler runtime.
    [ "$1" != clang ] || line+=" -L$(dirname "$(x86_64-w64-mingw32-gcc -print-libgcc-file-name)")"
    (cd "$package" && eval "$line -Wall -Wextra -Werror") && [ -e "$package/$3" ]
}

builds_with_cmake() {
    local compiler=x86_64-w64-mingw32
    cmake -S "$package/examples" -B "$work/with cmake" -G Ninja -DCMAKE_SYSTEM_NAME=Windows \
        -DCMAKE_C_COMPILER=$compiler-gcc-posix -DCMAKE_CXX_COMPILER=$compiler-g++-posix >"$work/cmake.log" 2>&1 &&
        cmake --build "$work/with cmake" >>"$work/cmake.log" 2>&1 &&
        [ -e "$work/with cmake/kit_stub_cpp.exe" ] && [ -e "$work/with cmake/minimal_stub.exe" ] &&
        [ -e "$work/with cmake/zorvaneclient.dll" ] || { cat "$work/cmake.log" >&2; return 1; }
}

# A project of another system is told why, and is not given targets that cannot work.
is_refused_elsewhere() {
    mkdir -p "$work/elsewhere"
    cat >"$work/elsewhere/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.20)
project(Elsewhere LANGUAGES NONE)
find_package(Zorvane QUIET PATHS "$package" NO_DEFAULT_PATH)
if(Zorvane_FOUND OR TARGET Zorvane::c)
  message(FATAL_ERROR "found")
endif()
END
    cmake -S "$work/elsewhere" -B "$work/elsewhere/build" >"$work/elsewhere.log" 2>&1 ||
        { cat "$work/elsewhere.log" >&2; return 1; }
}

# The program that was compiled by the README's line, beside the package's DLL, on the demo's worker.
runs_on_the_demo() {
    local out
    [ -e "$package/kit_stub.exe" ] || return 1
    # It would find no processor of AMD's and remove the driver service that another test is at work with.
    printf '[cpu_kernel]\r\nsdk_flag=0\r\n' >"$package/demo/Qorvella.set"
    out=$("$source/scripts/wine" "$package/zorvanemon.exe" --demo --count 1) &&
        grep -q SIMULATED <<<"$out" || return 1
    out=$(cd "$package" && "$source/scripts/wine" ./kit_stub.exe 'Z:\missing.exe' 2>&1)
    grep -q 'start_failed  CreateProcessW' <<<"$out"
}

for compiler in x86_64-w64-mingw32-gcc clang; do
    test_case "Package.CompilesTheRawStub/$compiler" compiles $compiler minimal_stub.c minimal_stub.exe
    test_case "Package.CompilesTheStubInC/$compiler" compiles $compiler kit_stub.c kit_stub.exe
done
test_case Package.BuildsItsExamplesWithCMake builds_with_cmake
test_case Package.IsNotFoundForOtherSystems is_refused_elsewhere
test_case Package.RunsAsUnpacked runs_on_the_demo
write_results "$2"
