#!/usr/bin/env bash
# What zorvanemon writes, read by programs that others wrote: Python, jq, promtool and node_exporter.
# Usage: foreign_readers_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
source=$1
check="$source/tests/scripts/foreign_readers.py"
# Beside the installed ones, those that scripts/test has unpacked.
PATH="$PATH:$source/build/debian/usr/bin"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
recording="$work/recording.jsonl"
python3 "$check" write_recording "$recording" || exit 1

program="$(dirname "$2")/../bin/zorvanemon.exe"

# replay OPTION ...: shows the recording.
replay() {
    "$source/scripts/wine" "$program" replay "Z:$recording" "$@"
}

json_is_read_by_python() {
    replay --at-once --format json >"$work/out.jsonl" && python3 "$check" json "$work/out.jsonl" "$recording"
}
json_is_read_by_jq() {
    replay --at-once --format json >"$work/out.jsonl" || return 1
    expect_equal 79 "$(jq -s 'map(select(.type == "gpu").temperature_celsius) | max' "$work/out.jsonl")"
    # Every line has what the page promises of every line.
    jq -e 'has("type") and has("time") and has("host") and has("entry") and .schema == 1' \
        "$work/out.jsonl" >/dev/null
}
csv_is_read_by_python() {
    replay --at-once --format csv --out "Z:$work/out.csv" && python3 "$check" csv "$work/out.csv" "$recording" comma &&
        replay --at-once --format csv --separator tab >"$work/out.tsv" &&
        python3 "$check" csv "$work/out.tsv" "$recording" tab
}
metrics_are_read_by_promtool() {
    replay --at-once --format prometheus >"$work/out.prom" || return 1
    # The blocks are apart by blank lines; the last one has every metric.
    awk -v RS= 'NR == 1 { print >first } { last = $0 } END { print last >rest }' \
        first="$work/first.prom" rest="$work/last.prom" "$work/out.prom"
    local block
    for block in first last; do
        promtool check metrics <"$work/$block.prom" || return 1
    done
    python3 "$check" documented "$work/last.prom" "$source/docs/zorvanemon.md"
}
# While the file is being replaced, some ten times a second.
metrics_are_scraped_by_node_exporter() {
    local folder="$work/textfile"
    mkdir "$folder"
    python3 "$check" scrape "$folder" "$source/docs/zorvanemon.md" \
        "$source/scripts/wine" "$program" replay "Z:$recording" --speed 5 \
        --format prometheus --out "Z:$folder/zorvane.prom"
}

test_case ForeignReaders.PythonReadsJson json_is_read_by_python
test_case ForeignReaders.JqReadsJson json_is_read_by_jq
test_case ForeignReaders.PythonReadsCsv csv_is_read_by_python
test_case ForeignReaders.PromtoolHasNothingToSayOfTheMetrics metrics_are_read_by_promtool
test_case ForeignReaders.NodeExporterServesEveryMetricWithoutAnError metrics_are_scraped_by_node_exporter
write_results "$2"
