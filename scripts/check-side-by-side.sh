#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The Qt 5 and the Qt 6 build side by side: installs both into one prefix and checks that
# neither overwrote a file of the other, builds and runs the consumer against each package
# (CMake and pkg-config), and checks that a product's component file written by either
# build's tool is read identically by the other's.
#   --qt5-build D   the Qt 5 build directory (default build/)
#   --qt6-build D   the Qt 6 build directory (default build-qt6/)
# Both must be built already (scripts/run-tests.sh and scripts/run-tests.sh --qt6).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

qt5_build="$root/build"
qt6_build="$root/build-qt6"
while [ $# -gt 0 ]; do
    case "$1" in
        --qt5-build) qt5_build=$(cd "$2" && pwd); shift ;;
        --qt6-build) qt6_build=$(cd "$2" && pwd); shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

work=$(mktemp -d "${TMPDIR:-/tmp}/orrery-side-by-side.XXXXXX")
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

fail() {
    echo "side by side: $*" >&2
    exit 1
}

# 1. Both into one prefix; the second install must leave every file of the first as it was.
cmake --install "$qt5_build" --prefix "$prefix" > /dev/null
sort "$qt5_build/install_manifest.txt" > "$work/qt5.files"
xargs -d '\n' sha256sum < "$work/qt5.files" > "$work/qt5.sums"
cmake --install "$qt6_build" --prefix "$prefix" > /dev/null
sort "$qt6_build/install_manifest.txt" > "$work/qt6.files"
shared=$(comm -12 "$work/qt5.files" "$work/qt6.files")
[ -z "$shared" ] || fail "files installed by both builds:"$'\n'"$shared"
sha256sum --quiet -c "$work/qt5.sums" || fail "the Qt 6 install changed files of the Qt 5 install"
for file in lib/libOrreryCore.so lib/libOrreryCoreQt6.so lib/cmake/OrreryCore/OrreryCoreConfig.cmake \
            lib/cmake/OrreryCoreQt6/OrreryCoreQt6Config.cmake lib/pkgconfig/orrerycore.pc \
            lib/pkgconfig/orrerycore-qt6.pc include/orrery/orrery.h \
            include/OrreryCoreQt6/orrery/orrery.h bin/orrery bin/orrery-qt6; do
    [ -e "$prefix/$file" ] || fail "not installed: $file"
done
echo "one prefix: $(wc -l < "$work/qt5.files") files of the Qt 5 build, $(wc -l < "$work/qt6.files")" \
     "of the Qt 6 build, none shared or overwritten"

# 2. The consumer against each package, with CMake and with pkg-config.
consumer() {  # <package> <pkg-config module> <include dir> <Qt major>
    cmake -DPREFIX="$prefix" -DWORK_DIR="$work/consumer-$1" \
        -DCONSUMER_SOURCE_DIR="$root/tests/package/consumer" -DCXX_COMPILER="${CXX:-c++}" \
        -DPACKAGE_NAME="$1" -DPC_NAME="$2" -DINCLUDE_DIR="$3" -DQT_MAJOR="$4" \
        -P "$root/tests/package/run_consumer_test.cmake"
    echo "consumer built against $1 with CMake and pkg-config, ran on Qt $4"
}
consumer OrreryCore orrerycore include 5
consumer OrreryCoreQt6 orrerycore-qt6 include/OrreryCoreQt6 6

# 3. A product's component file written by one build's tool, read by the other's.
export HOME="$work/home" XDG_CONFIG_HOME="$work/config"
unset VEXIL_REFERRED_COMPONENT_FILE VEXIL_INSTALLINFO_FILE
mkdir -p "$HOME" "$XDG_CONFIG_HOME"
values=("C:\\Programme\\Jürgen Müller\\Modelle" "日本語 😀 €" "plain;with,separators = and \"quotes\""
        " leading and trailing " "@at-sign" "tab	and ÿ0A9")
cross_read() {  # <writer> <reader>
    local product="$work/product-$1"
    mkdir -p "$product"
    local i=0
    for value in "${values[@]}"; do
        "$prefix/bin/$1" component set "$product" "Mödels" "2.$i" Location "$value" > /dev/null
        i=$((i + 1))
    done
    i=0
    for value in "${values[@]}"; do
        for tool in "$1" "$2"; do
            got=$("$prefix/bin/$tool" component get "$product" "Mödels" "2.$i" Location)
            [ "$got" = "$value" ] ||
                fail "$tool read \"$got\" for \"$value\" from the file of $1"
        done
        i=$((i + 1))
    done
    if LC_ALL=C grep -q -P '[\x80-\xFF]' "$product/ComponentRefs.ini"; then
        fail "the file of $1 holds bytes beyond ASCII:"$'\n'"$(cat "$product/ComponentRefs.ini")"
    fi
    echo "$1 wrote ${#values[@]} locations; $2 read each as written"
}
cross_read orrery orrery-qt6
cross_read orrery-qt6 orrery
cmp -s "$work/product-orrery/ComponentRefs.ini" "$work/product-orrery-qt6/ComponentRefs.ini" ||
    fail "the two builds wrote different files for the same values"
echo "both builds wrote the same bytes"
