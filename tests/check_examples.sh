#!/bin/bash
# The committed example files are what the generator writes, byte for byte.
#   check_examples.sh GENERATOR EXAMPLES_DIR
set -euo pipefail
written=$(mktemp -d)
trap 'rm -rf "$written"' EXIT
"$1" "$written"
diff -r "$written" "$2"
