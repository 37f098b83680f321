#!/bin/bash
# The shared library exports exactly the functions that the headers declare.
#   check_exports.sh LIBRARY INCLUDE_DIR
set -euo pipefail
exported=$(nm -D --defined-only "$1" | awk '{print $3}' | sort)
declared=$(cat "$2"/vorlandi/*.h | sed 's://.*$::; /^ *\*/d; /^\/\*/d' |
           grep -oE '^(double|void|int32_t|int64_t) +Vorlan[A-Za-z0-9]+\(' | grep -oE 'Vorlan[A-Za-z0-9]+' | sort)
[ -n "$declared" ]
diff <(echo "$declared") <(echo "$exported") && echo "$(echo "$exported" | wc -l) exported functions, all declared"
