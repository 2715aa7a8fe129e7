# Test cases in shell, reported as the test programs do; sourced by the tests of this folder.
# test_case NAME COMMAND ...: one case; it passes if the command ends with 0, and is skipped at 77.
cases=
failures=0
test_case() {
    local verdict= code=0
    ("${@:2}") || code=$?
    if [ "$code" -eq 77 ]; then
        verdict='<skipped/>'
    elif [ "$code" -ne 0 ]; then
        verdict='<failure message="see the output"/>'
        failures=$((failures + 1))
        printf 'FAILED: %s\n' "$1" >&2
    fi
    cases+="<testcase name=\"$1\">$verdict</testcase>"$'\n'
}

# expect_equal EXPECTED ACTUAL: tells both if they differ.
expect_equal() {
    [ "$1" = "$2" ] || { printf 'expected: %s\n  actual: %s\n' "$1" "$2" >&2; return 1; }
}

# write_results FILE: the file of results; ends with 0 if every case passed.
write_results() {
    printf '<testsuites>%s</testsuites>\n' "$cases" >"$1"
    [ "$failures" -eq 0 ]
}
