#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the Debian packages of the Qt 5 build with CPack and checks them with lintian:
# liborrerycore<SOVERSION> (the shared library), liborrerycore-dev (headers, CMake package,
# pkg-config file) and orrery-tools (the orrery tool and its example data). Configures
# build-deb/ for them (Release with Debian's hardening flags, prefix /usr, no install
# RPATH, no tests, benchmarks or examples), builds, runs `cpack -G DEB` and prints the
# directory that holds the three .deb files. Fails on any lintian error; warnings and
# notes are printed. scripts/check-packages.sh installs and uses the packages.
#   --build-dir D  use D instead of build-deb/
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
start=$SECONDS

build_dir="$root/build-deb"
while [ $# -gt 0 ]; do
    case "$1" in
        --build-dir) build_dir=$2; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

fail() {
    echo "make-packages: $*" >&2
    exit 1
}

# dpkg-shlibdeps and dpkg-buildflags (dpkg-dev), file and readelf for CPack's DEB generator.
"$root/scripts/install-deps.sh" lintian dpkg-dev file binutils
. "$root/scripts/compiler-cache.sh"

# The flags Debian builds its own packages with, with all hardening (source paths relative
# to the checkout); CMake reads no CPPFLAGS, so those go with the compiler flags.
cd "$root"
export DEB_BUILD_MAINT_OPTIONS=hardening=+all
cxxflags="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS)"
ldflags=$(dpkg-buildflags --get LDFLAGS)
# The date of the Debian change log entry: that of the last commit, so that building the
# same commit again gives the same packages.
if [ -z "${SOURCE_DATE_EPOCH:-}" ] && git -C "$root" rev-parse --git-dir > /dev/null 2>&1; then
    SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct)
    export SOURCE_DATE_EPOCH
fi

cmake -S "$root" -B "$build_dir" -G Ninja "${orrery_launcher[@]}" \
    -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr \
    -DCMAKE_SKIP_INSTALL_RPATH=ON \
    "-DCMAKE_CXX_FLAGS=$cxxflags" \
    "-DCMAKE_EXE_LINKER_FLAGS=$ldflags" \
    "-DCMAKE_SHARED_LINKER_FLAGS=$ldflags" \
    -DORRERY_QT_MAJOR_VERSION=5 \
    -DORRERY_BUILD_TESTS=OFF -DORRERY_BUILD_BENCHMARKS=OFF -DORRERY_BUILD_EXAMPLES=OFF \
    -DORRERY_BUILD_FUZZERS=OFF -DORRERY_BUILD_TOOLS=ON > /dev/null
cmake --build "$build_dir" -j "$(nproc)"

out_dir="$build_dir/packages"
rm -rf "$out_dir"
(cd "$build_dir" && cpack --config CPackConfig.cmake -G DEB > cpack.log 2>&1) ||
    fail "cpack failed; its output is in $build_dir/cpack.log"
mapfile -t debs < <(find "$out_dir" -maxdepth 1 -name '*.deb' | sort)
[ ${#debs[@]} -eq 3 ] || fail "expected 3 packages in $out_dir, found ${#debs[@]}"

# The tool and the library must find each other in the system's library directory; an
# RPATH left in would be a relic of the build.
work=$(mktemp -d "${TMPDIR:-/tmp}/orrery-packages.XXXXXX")
trap 'rm -rf "$work"' EXIT
for deb in "${debs[@]}"; do
    dpkg-deb -x "$deb" "$work/tree"
done
while IFS= read -r -d '' file; do
    [[ "$(file -b "$file")" == ELF* ]] || continue
    if grep -Eq '\((RPATH|RUNPATH)\)' <<< "$(readelf -d "$file")"; then
        fail "${file#"$work/tree"} has a run path: $(readelf -d "$file" | grep -E 'R(UN)?PATH')"
    fi
done < <(find "$work/tree" -type f -print0)

echo "== lintian"
status=0
lintian --fail-on error --display-info "${debs[@]}" || status=$?
[ "$status" -eq 0 ] || fail "lintian found errors (above)"

echo "== packages in $out_dir ($((SECONDS - start)) s)"
for deb in "${debs[@]}"; do
    echo "$(dpkg-deb -f "$deb" Package) $(dpkg-deb -f "$deb" Version): $(basename "$deb")"
done
