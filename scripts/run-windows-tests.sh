#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds OrreryCore, its tests and the tool for Windows x86-64 (mingw-w64, warnings as
# errors) against Qt Core cross-built by build-qt-mingw.sh (built first when its cache
# lacks it), runs the whole ctest suite under Wine in a temporary prefix, packs the
# installed tree into a ZIP with CPack and runs `orrery.exe demo` from the unpacked ZIP.
# Then sets the Windows test list beside the Linux one: every Linux test must run under
# Wine too or be listed, with its reason, in tests/windows/linux_only.txt.
#   --build-dir D    use D instead of build-windows/
#   --linux-build D  the native build whose test list to compare with (build/)
#   --no-compare     skip that comparison (no native build at hand)
#   --jobs N         parallel builds and tests (default: the number of cores)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

build_dir="$root/build-windows"
linux_build="$root/build"
compare=ON
jobs=$(nproc)
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir) build_dir=$2; shift ;;
        --linux-build) linux_build=$2; shift ;;
        --no-compare) compare=OFF ;;
        --jobs) jobs=$2; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

started=$(date +%s)
elapsed() { echo "$(($(date +%s) - started)) s"; }

"$root/scripts/install-deps.sh" g++-mingw-w64-x86-64-posix wine64 zip unzip

echo "== Qt Core for mingw-w64"
bash "$root/scripts/build-qt-mingw.sh"
qt_prefix=$(bash "$root/scripts/build-qt-mingw.sh" --print-prefix)

wine=/usr/lib/wine/wine64
wineserver=/usr/lib/wine/wineserver
# Builds share one lock with other builds on the machine.
lock="${ORRERY_BUILD_LOCK:-/tmp/orrery-build.lock}"

echo "== cross-build for Windows ($(elapsed))"
. "$root/scripts/compiler-cache.sh"
flock "$lock" cmake -S "$root" -B "$build_dir" -G Ninja "${orrery_launcher[@]}" \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-mingw64.cmake" \
    -DCMAKE_PREFIX_PATH="$qt_prefix" \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DORRERY_WARNINGS_AS_ERRORS=ON >/dev/null
flock "$lock" cmake --build "$build_dir" -j "$jobs"

# A prefix of our own, removed afterwards; Wine reads arguments and the environment
# as UTF-8 under this locale.
scratch=$(mktemp -d)
export WINEPREFIX="$scratch/prefix"
export WINEDEBUG=-all
export LC_ALL=C.UTF-8
# No .NET or HTML engine is needed, and no prompt to install them.
export WINEDLLOVERRIDES="mscoree,mshtml="
cleanup() {
    "$wineserver" -k || true
    rm -rf "$scratch"
}
trap cleanup EXIT

echo "== create the Wine prefix ($(elapsed))"
# One server for the whole run, started first: otherwise the test that happens to start
# it seems to last until the server ends.
mkdir -p "$WINEPREFIX"
"$wineserver" -p
"$wine" wineboot --init >/dev/null 2>&1

echo "== tests under Wine ($(elapsed))"
# Now and then Wine ends a program at its start, before it prints anything (a failure of
# 0.02 s without output, one test in a run, a different one each time); a failed test
# therefore gets one more run, and ctest's summary still names every test that failed twice.
ctest --test-dir "$build_dir" -j "$jobs" --output-on-failure --timeout 600 \
    --repeat until-pass:2

echo "== ZIP of the installed tree ($(elapsed))"
rm -rf "$build_dir/packages"
(cd "$build_dir" && cpack --config CPackConfig.cmake >/dev/null)
zip_file=$(ls "$build_dir"/packages/OrreryCore-*-win64.zip)
unzip -q "$zip_file" -d "$scratch/unpacked"
unpacked=$(ls -d "$scratch"/unpacked/OrreryCore-*)
for file in bin/OrreryCore.dll lib/libOrreryCore.dll.a bin/orrery.exe bin/Qt5Core.dll \
    bin/libstdc++-6.dll bin/libgcc_s_seh-1.dll bin/libwinpthread-1.dll include/orrery/orrery.h \
    lib/cmake/OrreryCore/OrreryCoreConfig.cmake share/orrery/examples/registry.ini; do
    if [ ! -e "$unpacked/$file" ]; then
        echo "the ZIP lacks $file" >&2
        exit 1
    fi
done
mkdir -p "$scratch/home"
if ! HOME="$scratch/home" "$wine" "$unpacked/bin/orrery.exe" demo >"$scratch/demo.txt" 2>&1 ||
    ! grep -q "Every step ran\." "$scratch/demo.txt"; then
    tr -d '\r' <"$scratch/demo.txt" >&2
    echo "orrery.exe demo failed from the unpacked ZIP" >&2
    exit 1
fi
echo "$(basename "$zip_file"): $(du -h "$zip_file" | cut -f1); orrery.exe demo runs from it"

[ "$compare" = ON ] || { echo "done in $(elapsed)"; exit 0; }

echo "== Linux and Windows test lists"
if [ ! -f "$linux_build/CTestTestfile.cmake" ]; then
    echo "no native build in $linux_build: run scripts/run-tests.sh first, or pass --no-compare" >&2
    exit 1
fi
test_names() {
    ctest --test-dir "$1" --show-only=json-v1 >"$2"
}
test_names "$linux_build" "$scratch/linux.json"
test_names "$build_dir" "$scratch/windows.json"
python3 - "$scratch/linux.json" "$scratch/windows.json" "$root/tests/windows/linux_only.txt" <<'EOF'
import collections, fnmatch, json, re, sys

def names(path):
    # A parameter that GoogleTest prints as its bytes ("16-byte object <...>") holds
    # addresses that differ from run to run: such rows count per test, not by value.
    tests = json.load(open(path))["tests"]
    return collections.Counter(
        re.sub(r"/\d+-byte object <.*$", "/<object>", re.sub(r"  # GetParam\(\) = .*$", "", t["name"]))
        for t in tests)

linux, windows = names(sys.argv[1]), names(sys.argv[2])
patterns = [line.split()[0] for line in open(sys.argv[3], encoding="utf-8")
            if line.strip() and not line.startswith("#")]
linux_only = linux - windows
unlisted = sorted(n for n in linux_only
                  if not any(fnmatch.fnmatchcase(n, p) for p in patterns))
if unlisted:
    print("Linux tests that neither run under Wine nor are listed in tests/windows/linux_only.txt:",
          *unlisted, sep="\n", file=sys.stderr)
    sys.exit(1)
print(f"Linux: {sum(linux.values())} tests; Windows: {sum(windows.values())} tests, of which "
      f"{sum((windows - linux).values())} only on Windows; {sum(linux_only.values())} Linux "
      "tests only on Linux, each with its reason in tests/windows/linux_only.txt")
EOF
echo "done in $(elapsed)"
