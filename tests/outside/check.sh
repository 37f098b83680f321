#!/bin/bash
# Projects outside can use the library: as a subproject, static, and by find_package after the installed tree has been
# moved, static and shared.
#   check.sh SOURCE_DIR BUILD_DIR       the build has library and tool, shared
set -euo pipefail
source=$1 build=$2
project=$source/tests/outside
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Builds the project with the arguments for CMake given and runs it.
use() {
    local name=$1
    shift
    cmake -G Ninja -S "$project" -B "$work/$name" "$@" >/dev/null
    cmake --build "$work/$name" >/dev/null
    [ "$("$work/$name/count" "$source/examples/data/81001_stk.e")" = 1 ] || { echo "$name: wrong answer"; exit 1; }
    echo "$name: builds and runs"
}

install_and_move() {
    cmake --install "$1" --prefix "$work/before" >/dev/null
    mv "$work/before" "$work/$2"
}

use subproject -DSUBPROJECT="$source" -DVORLANDI_INSTALL=ON
install_and_move "$work/subproject" static
[ -n "$(find "$work/static" -name libvorlandi.a)" ] || { echo "the subproject is not static"; exit 1; }
use static-package -DCMAKE_PREFIX_PATH="$work/static"
install_and_move "$build" shared
use shared-package -DCMAKE_PREFIX_PATH="$work/shared"
"$work/shared/bin/vorlandi" formats >/dev/null
