#!/usr/bin/env bash
# What the pages point to is there: linked files, headings, and the paths that they name.
# Usage: documentation_test.sh SOURCE_FOLDER RESULTS_FILE
set -uo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/results.sh"
cd "$1" || exit 2

pages() { find . -path ./build -prune -o -path ./dist -prune -o -name '*.md' -print | sed 's#^\./##' | sort; }

# headings FILE: the anchors of its headings, as the usual viewers make them.
headings() {
    sed -nE '/^```/,/^```/d; s/^#+ +//p' "$1" | tr '[:upper:]' '[:lower:]' | sed -E 's/[^a-z0-9 _-]//g; s/ /-/g'
}

# Each "page target" of the links within the tree.
links() {
    local page
    while read -r page; do
        grep -oE '\]\([^) ]+\)' "$page" | sed -E 's/^\]\((.*)\)$/\1/' | grep -vE '^[a-z]+:' | sed "s#^#$page #"
    done < <(pages)
}

every_link_leads_somewhere() {
    local page target file anchor count=0 missing=0
    while read -r page target; do
        count=$((count + 1))
        file=${target%%#*}
        anchor=${target#"$file"}
        file=${file:+$(dirname "$page")/$file}
        file=${file:-$page}
        if [ ! -e "$file" ]; then
            echo "$page: there is no $target" >&2
            missing=1
        elif [ -n "$anchor" ] && ! headings "$file" | grep -qxF -- "${anchor#\#}"; then
            echo "$page: no heading for $target" >&2
            missing=1
        fi
    done < <(links)
    [ "$count" -gt 0 ] || { echo "no links were found" >&2; return 1; }
    return "$missing"
}

# A path in backticks that begins with a folder of the tree is there; without its ending it names
# header and source.
every_named_path_exists() {
    local page path count=0 missing=0
    while read -r page path; do
        count=$((count + 1))
        [ -e "${path%/}" ] || [ -e "$path.h" ] || { echo "$page: there is no $path" >&2; missing=1; }
    done < <(pages | xargs grep -oE '`(base|bench|client|cmake|dllruntime|docs|examples|host|include|integrations|monitor|packaging|platform-standin|scripts|sim|src|tests|web)/[A-Za-z0-9_./-]+`' |
                 sed -E 's/:`/ /; s/`$//')
    [ "$count" -gt 0 ] || { echo "no paths were found" >&2; return 1; }
    return "$missing"
}

test_case Documentation.LinksLeadSomewhere every_link_leads_somewhere
test_case Documentation.NamedPathsExist every_named_path_exists
write_results "$2"
