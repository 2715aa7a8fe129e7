#!/usr/bin/env bash
# How scripts/wine starts a program, with the kernel's leave to switch randomisation off and without.
# Usage: wine_start_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
wine="$1/scripts/wine"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Programs that stand first in the path of a case: a loader that only tells, a setarch that may not.
mkdir "$work/telling" "$work/failing" "$work/forbidden"
cat >"$work/telling/wine64" <<'END'
#!/bin/sh
exec cat /proc/self/personality
END
cat >"$work/failing/wine64" <<'END'
#!/bin/sh
echo >>"$TRIES"
if [ "$(wc -l <"$TRIES")" -lt 3 ]; then
    echo "$COMPLAINT" >&2
    exit 1
fi
echo "$*"
exit 5
END
printf '#!/bin/sh\nexit 1\n' >"$work/forbidden/setarch"
chmod +x "$work"/*/*

complaint='err:virtual:virtual_alloc_first_teb wine: failed to map the shared user data: c0000018'

starts_without_randomisation() {
    setarch -R true || return 77
    expect_equal 00040000 "$(PATH="$work/telling:$PATH" "$wine" program)"
}

# forbidden_start COMPLAINT: what is printed, the exit code and the number of tries.
forbidden_start() {
    local out code
    rm -f "$work/tries"
    out=$(PATH="$work/failing:$work/forbidden:$PATH" TRIES="$work/tries" COMPLAINT="$1" \
        "$wine" program 'an argument' 2>/dev/null)
    code=$?
    echo "$out/$code/$(wc -l <"$work/tries")"
}
starts_again() {
    expect_equal 'program an argument/5/3' "$(forbidden_start "$complaint")"
}
other_failures_stand() {
    expect_equal '/1/1' "$(forbidden_start 'the program found something else')"
}

# The loader as installed, with a heap so large that it covers the page.
real_complaint_is_known() {
    local out
    setarch -R true || return 77
    out=$(PATH="$work/forbidden:$PATH" GLIBC_TUNABLES=glibc.malloc.top_pad=0x10000000 \
        "$(command -v setarch)" -R "$wine" cmd /c exit 2>&1)
    expect_equal 'wine: Wine did not start: the page that it must map was taken five times in a row' "$out"
}

test_case WineStart.SwitchesRandomisationOff starts_without_randomisation
test_case WineStart.StartsAgainWhereThatIsForbidden starts_again
test_case WineStart.HandsOtherFailuresOn other_failures_stand
test_case WineStart.KnowsTheComplaintOfTheInstalledWine real_complaint_is_known
write_results "$2"
