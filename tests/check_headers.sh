#!/bin/bash
# Each C header compiles alone, as C99 and as C++20, and each C++ header as C++20, with and without exceptions.
#   check_headers.sh INCLUDE_DIR C_COMPILER CXX_COMPILER
set -euo pipefail
include=$1 cc=$2 cxx=$3
warnings=(-Wall -Wextra -Wpedantic -Werror -fsyntax-only -I "$include")
for header in "$include"/vorlandi/*.h; do
    "$cc" -std=c99 "${warnings[@]}" -Wstrict-prototypes -x c - <<<"#include \"$header\""
    "$cxx" -std=c++20 "${warnings[@]}" -x c++ - <<<"#include \"$header\""
    echo "$(basename "$header") compiles alone"
done
for header in "$include"/vorlandi/*.hpp; do
    strict=("${warnings[@]}" -Wconversion -Wshadow)
    "$cxx" -std=c++20 "${strict[@]}" -x c++ - <<<"#include \"$header\""
    "$cxx" -std=c++20 "${strict[@]}" -DVORLANDI_NO_EXCEPTIONS -fno-exceptions -x c++ - <<<"#include \"$header\""
    echo "$(basename "$header") compiles alone"
done
# A wrong option is named.
for options in -std=c++17 "-std=c++20 -fno-exceptions"; do
    # shellcheck disable=SC2086  # several options
    said=$("$cxx" $options -I "$include" -fsyntax-only -x c++ - <<<'#include <vorlandi/vorlandi.hpp>' 2>&1 || true)
    grep -m 1 'error: .*vorlandi.hpp .*needs' <<<"$said"
done
