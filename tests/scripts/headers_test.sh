#!/usr/bin/env bash
# The public headers in every language version, for both ABIs of 64-bit Windows, with every warning
# that clang has. Usage: headers_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
source=$1

# Without -Wc++98-compat, which speaks against C++11 itself.
# compiles HEADER LANGUAGE TARGET STANDARD ...: without a warning, and without headers of any system.
compiles() {
    local standard output
    command -v clang >/dev/null || return 77
    for standard in "${@:4}"; do
        output=$(printf '#include "zorvane/%s"\n' "$1" | clang -fsyntax-only -x "$2" -target "$3" \
            -std="$standard" -ffreestanding -nostdinc -isystem "$(clang -print-resource-dir)/include" \
            -isystem "$source/tests/scripts/freestanding" -Weverything -Wno-c++98-compat -Werror -I"$source/include" - 2>&1) ||
            { printf '%s %s:\n%s\n' "$1" "$standard" "$output" >&2; return 1; }
    done
}

for target in x86_64-pc-windows-msvc x86_64-w64-windows-gnu; do
    for header in wire.h client.h; do
        test_case "Headers.AreCleanC/$header/$target" compiles $header c $target c89 c99 c11 c17 c2x
        test_case "Headers.AreCleanCpp/$header/$target" \
            compiles $header c++ $target c++98 c++11 c++14 c++17 c++20 c++2b
    done
done
write_results "$2"
