#!/bin/bash
# Installed files are hardened: the marks that the options of cmake/CompileOptions.cmake leave in a library or program.
#   check_hardening.sh FILE...
set -euo pipefail
status=0

# Reports FILE unless WHAT, an extended regular expression, is in the text on standard input.
needs() {
    grep -qE -- "$2" || { echo "$1: no $3"; status=1; }
}

# Functions of the interface, or main, that do not begin with the instruction that an indirect jump must land on.
without_landing() {
    objdump -d --no-show-raw-insn "$1" | awk '/^[0-9a-f]+ <(Vorlan[A-Za-z0-9]*|main)>:/ { name = $2; next }
        name && !/endbr64/ { print name } { name = "" }'
}

for file in "$@"; do
    needs "$file" 'Type:.*DYN' 'position-independent code' < <(readelf -hW "$file")
    needs "$file" 'BIND_NOW' 'binding at the start' < <(readelf -dW "$file")
    needs "$file" 'GNU_RELRO' 'read-only relocations' < <(readelf -lW "$file")
    needs "$file" 'GNU_STACK.* RW ' 'stack without code' < <(readelf -lW "$file")
    needs "$file" '__stack_chk_fail' 'stack protector' < <(readelf -W --dyn-syms "$file")
    needs "$file" '__(mem|str|v?s?n?printf|fprintf|read)[a-z]*_chk' 'checked copies' < <(readelf -W --dyn-syms "$file")
    if readelf -hW "$file" | grep -q 'X86-64'; then
        needs "$file" 'SHSTK' 'mark of shadow stacks' < <(readelf -nW "$file")
        needs "$file" '^$' 'landing instruction in every function' < <(without_landing "$file" | paste -sd ' ')
    fi
done
exit $status
