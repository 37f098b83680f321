#!/bin/bash
# The shared library exports exactly the functions that the headers declare, each with the version name VORLANDI_1.
#   check_exports.sh LIBRARY
set -euo pipefail
exported=$(nm -D --defined-only "$1" | awk '$2 != "A" {print $3}' | sort)
declared=$("$(dirname "${BASH_SOURCE[0]}")"/../abi/symbols.py --names)
[ -n "$declared" ]
diff <(awk "{print \$0 \"@@VORLANDI_1\"}" <<<"$declared") <(echo "$exported") &&
    echo "$(echo "$exported" | wc -l) exported functions, all declared"
