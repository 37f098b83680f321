#!/bin/bash
# Projects outside can use the library: as a subproject, and installed, after the tree has been moved, by CMake and by
# pkg-config, in C, C++ and Fortran, shared and static.
#   check.sh SOURCE_DIR BUILD_DIR       the build has library, archive, tool, Fortran module and manual pages
set -euo pipefail
source=$1 build=$2
project=$source/tests/outside
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A program outside prints the position of the example at a time.
answers() {
    local printed
    printed=$("$1" "$source/examples/data/81001_stk.e" 2>&1) || true
    [ "$printed" = "4857.316212 -1721.043790 -4679.175417" ] || { echo "${1#"$work/"}: answered $printed"; exit 1; }
    echo "${1#"$work/"}: builds and answers"
}

# Builds the project with the arguments for CMake given and runs its programs.
use() {
    local name=$1 program
    shift
    cmake -G Ninja -S "$project" -B "$work/$name" "$@" >/dev/null
    cmake --build "$work/$name" >/dev/null
    for program in "$work/$name"/state_*; do answers "$program"; done
}

# Configuring the project with the arguments after the second fails with the text of the second.
refuses() {
    local name=$1 said=$2
    shift 2
    ! cmake -G Ninja -S "$project" -B "$work/$name" "$@" >"$work/said" 2>&1 || { echo "$name: not refused"; exit 1; }
    tr -s '\n ' ' ' <"$work/said" | grep -qF -- "$said" || { cat "$work/said"; exit 1; }
    echo "$name: refused with a message"
}

install_and_move() {
    cmake --install "$1" --prefix "$work/before" >/dev/null
    mv "$work/before" "$work/$2"
}

# Compiles a program with the flags from pkg-config: NAME, the packages and options for it, the compiler's command.
compile() {
    local name=$1 options=$2
    shift 2
    # shellcheck disable=SC2046,SC2086  # words of their own
    PKG_CONFIG_PATH=$(dirname "$(find "$work/shared" -name vorlandi.pc)") \
        bash -c '"${@:2}" $(pkg-config --cflags --libs $1)' - "$options" "$@" -o "$work/$name"
    LD_LIBRARY_PATH=$library_folder answers "$work/$name"
}

use subproject -DSUBPROJECT="$source" -DVORLANDI_INSTALL=ON
install_and_move "$work/subproject" static
[ -n "$(find "$work/static" -name libvorlandi.a)" ] || { echo "the subproject is not static"; exit 1; }
use static-package -DCMAKE_PREFIX_PATH="$work/static" -DCOMPONENTS="static;cpp"
refuses no-shared "component shared of vorlandi is not installed" \
    -DCMAKE_PREFIX_PATH="$work/static" -DCOMPONENTS="shared"
refuses no-fortran "component fortran of vorlandi is not installed" \
    -DCMAKE_PREFIX_PATH="$work/static" -DCOMPONENTS="fortran;cpp"

install_and_move "$build" shared
library=$(find "$work/shared" -name libvorlandi.so.1)
library_folder=$(dirname "$library")
use package -DCMAKE_PREFIX_PATH="$work/shared" -DCOMPONENTS="shared;static;cpp;fortran"
use package-for-c -DCMAKE_PREFIX_PATH="$work/shared" -DCOMPONENTS="static" -DC_ALONE=ON
refuses no-such "component speed of vorlandi does not exist" -DCMAKE_PREFIX_PATH="$work/shared" -DCOMPONENTS="speed"
refuses old-compiler "this project is compiled by GNU 9.4.0; take a newer compiler" \
    -DCMAKE_PREFIX_PATH="$work/shared" -DCOMPONENTS="cpp" -DPRETENDED_GCC=9.4.0 -DCMAKE_CXX_COMPILER=g++
if echo '#include <vorlandi/vorlandi.hpp>' |
    g++ -std=c++17 -fsyntax-only -I "$work/shared/include" -x c++ - 2>"$work/said"; then
    echo "vorlandi.hpp compiles as C++17"
    exit 1
fi
grep -q 'error: #error "vorlandi.hpp needs C++20' "$work/said"

compile pkgconfig-shared vorlandi gcc -std=c99 -Wall -Werror "$project/state.c"
compile pkgconfig-static "--static vorlandi" gcc -static -std=c99 "$project/state.c"
compile pkgconfig-cpp vorlandi g++ -std=c++20 "$project/state.cpp"
compile pkgconfig-fortran vorlandi-fortran gfortran "$project/state.f90"
compile pkgconfig-fortran-static "--static vorlandi-fortran" gfortran -static "$project/state.f90"

# A program that was linked with a library without version names starts with this one.
mkdir "$work/unversioned"
find "$build/src/CMakeFiles/vorlandi_objects.dir" -name '*.o' -exec \
    g++ -shared -Wl,-soname,libvorlandi.so.1 -o "$work/unversioned/libvorlandi.so" {} +
gcc -std=c99 -I "$source/include" "$project/state.c" -o "$work/linked-before" -L "$work/unversioned" -lvorlandi
[[ $(readelf -VW "$work/linked-before") != *VORLANDI_1* ]]
readelf -VW "$work/pkgconfig-shared" | grep -q VORLANDI_1
LD_LIBRARY_PATH=$library_folder answers "$work/linked-before"

readelf -dW "$library" | grep -q 'SONAME.*\[libvorlandi.so.1\]' || { echo "another SONAME"; exit 1; }
! readelf -dW "$library" | grep -E 'R(UN)?PATH' || { echo "the library has a search path"; exit 1; }
! grep -rIlE "$work/before|$build" "$work/shared" || { echo "these files know where they were made"; exit 1; }
"$work/shared/bin/vorlandi" formats >/dev/null
man -M "$work/shared/share/man" -w 3 VorlanDs50UTC libvorlandi >/dev/null
package=$(echo "$work"/shared/lib/python3*/dist-packages)
PYTHONPATH=$package /usr/bin/python3 -c 'import sys, vorlandi; print(len(vorlandi.load(sys.argv[1])[0]))' \
    "$source/examples/data/81001_stk.e" | grep -qx 361 || { echo "the Python package: wrong answer"; exit 1; }
