#!/bin/bash
# Each C header compiles alone, as C99 and as C++20.
#   check_headers.sh INCLUDE_DIR C_COMPILER CXX_COMPILER
set -euo pipefail
include=$1 cc=$2 cxx=$3
warnings=(-Wall -Wextra -Wpedantic -Werror -fsyntax-only -I "$include")
for header in "$include"/vorlandi/*.h; do
    "$cc" -std=c99 "${warnings[@]}" -Wstrict-prototypes -x c - <<<"#include \"$header\""
    "$cxx" -std=c++20 "${warnings[@]}" -x c++ - <<<"#include \"$header\""
    echo "$(basename "$header") compiles alone"
done
