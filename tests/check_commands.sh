#!/bin/bash
# The programs and commands that README.md and the example programs show run as they are written there.
#   check_commands.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
top=$(mktemp -d)
trap 'rm -rf "$top"' EXIT
cd "$top"
mkdir build
ln -s "$1"/{README.md,include,examples} .
ln -s "$2" build/gcc
blocks() { awk -v kind="$1" '/^```/ { inside = $1 == "```" kind; next } inside' README.md; }
blocks c >first.c
blocks cpp >first.cpp
{ blocks sh | grep -v '^\./dev'; sed -n 's/^ \*   //p' examples/*.c examples/*.cpp; } >commands
[ ! -e build/gcc/fortran/modules/vorlandi.mod ] || sed -n 's/^!   //p' examples/*.f90 >>commands
bash -euxo pipefail commands | tee printed
# shellcheck disable=SC2016  # backquotes of Markdown
sed -n 's/^It prints `\([^`]*\)`.*/\1/p' README.md >said
[ -s said ]
while read -r line; do
    grep -qxF -- "$line" printed
done <said
