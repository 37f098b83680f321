#!/bin/bash
# Every file that the page of formats shows can be loaded without a message, and holds the beginning of the example file
# of its name; a variant without an example holds two points.
#   check_formats_page.sh PAGE VORLANDI EXAMPLES_DIR
set -euo pipefail
page=$(realpath "$1") vorlandi=$2 examples=$3
cut=$(mktemp -d)
trap 'rm -rf "$cut"' EXIT
awk -v folder="$cut" '/^```/ { file = $1 == "```text" ? folder "/" $2 : ""; next } file { print > file }' "$page"
cd "$examples" # the names in a card file are relative
format() { "$vorlandi" info --format csv "$1" | cut -d, -f9 | sed -n 2p; }
count=0
for file in "$cut"/*; do
    name=${file##*/}
    options=()
    [[ $name != *modified_itc.txt ]] || options=(--cov) # shown with the covariances of its example
    [[ $name != *oem.txt || $("$vorlandi" states --cov "$file") != *"no covariance"* ]] || { echo "$name"; exit 1; }
    states=$("$vorlandi" states "${options[@]}" "$file" 2>&1) || true
    [ "$(wc -l <<<"$states")" -ge 3 ] || { echo "$name: $states"; exit 1; }
    if [ -e "$name" ]; then
        diff <(echo "$states"; format "$file") \
            <("$vorlandi" states "${options[@]}" "$name" | sed -n "1,$(wc -l <<<"$states")p"; format "$name") ||
            { echo "in $name"; exit 1; }
    fi
    count=$((count + 1))
done
echo "$count files loaded"
[ "$count" -eq "$(grep -c '^```' "$page" | awk '{ print $1 / 2 }')" ]
