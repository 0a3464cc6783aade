#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Cross-builds Qt Core 5.15 for Windows x86-64 (mingw-w64, posix threads, shared,
# release, bundled zlib and PCRE2; no GUI, network, D-Bus, ICU or SSL) from Debian's
# qtbase source package, with the host tools (qmake, moc, rcc) built natively, and
# installs it into a cache directory outside the checkout that later runs reuse.
#   --prefix DIR   install into DIR (default: $ORRERY_QT_MINGW_PREFIX, else
#                  ~/.cache/orrery/qt5-mingw-<version>)
#   --cache DIR    the cache for the source package and the build tree
#                  (default: $ORRERY_CACHE_DIR, else ~/.cache/orrery)
#   --print-prefix print the install prefix and stop
# Prints the time of each stage; a failed step ends the script with one line that
# names it (its output is kept in <cache>/qt5-mingw-build.log).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

cache="${ORRERY_CACHE_DIR:-${XDG_CACHE_HOME:-$HOME/.cache}/orrery}"
prefix="${ORRERY_QT_MINGW_PREFIX:-}"
print_prefix=no
while [ $# -gt 0 ]; do
    case "$1" in
        --prefix) prefix=$2; shift ;;
        --cache) cache=$2; shift ;;
        --print-prefix) print_prefix=yes ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

# The version of Qt 5 that this machine's Debian release carries (the native Qt the
# library is built against elsewhere), so that both builds use the same Qt.
version=5.15.8
[ -n "$prefix" ] || prefix="$cache/qt5-mingw-$version"
if [ "$print_prefix" = yes ]; then
    echo "$prefix"
    exit 0
fi
if [ -f "$prefix/.orrery-qt-complete" ]; then
    echo "Qt $version for mingw-w64: using $prefix"
    exit 0
fi

mkdir -p "$cache"
log="$cache/qt5-mingw-build.log"
: >"$log"
started=$(date +%s)
stage_name=""
stage_start=0
stage() {
    finish_stage
    stage_name=$1
    stage_start=$(date +%s)
    echo "== Qt for mingw-w64: $stage_name"
}
finish_stage() {
    if [ -n "$stage_name" ]; then
        echo "   $stage_name took $(($(date +%s) - stage_start)) s"
    fi
}
# Runs a step with its output in the log; on failure, one line and the log's tail.
step() {
    local what=$1
    shift
    if ! "$@" >>"$log" 2>&1; then
        tail -n 30 "$log" >&2
        echo "build-qt-mingw: $what failed (log: $log)" >&2
        exit 1
    fi
}

stage "packages"
step "installing the build packages" "$root/scripts/install-deps.sh" \
    g++-mingw-w64-x86-64-posix make perl python3 xz-utils patch

stage "source package"
apt_dir="$cache/apt"
src_dir="$cache/src"
mkdir -p "$apt_dir/lists/partial" "$apt_dir/cache/archives/partial" "$src_dir"
# A private apt configuration with a deb-src entry; the system's sources stay untouched.
suite=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
cat >"$apt_dir/sources.list" <<EOF
deb-src http://deb.debian.org/debian $suite main
deb-src http://deb.debian.org/debian-security $suite-security main
deb-src http://deb.debian.org/debian $suite-updates main
EOF
apt_options=(-o "Dir::Etc::sourcelist=$apt_dir/sources.list" -o "Dir::Etc::sourceparts=-"
    -o "Dir::State::Lists=$apt_dir/lists" -o "Dir::Cache=$apt_dir/cache")
if ! ls "$src_dir"/qtbase-opensource-src_"$version"+dfsg.orig.tar.xz >/dev/null 2>&1 ||
    ! ls "$src_dir"/qtbase-opensource-src_"$version"+dfsg-*.debian.tar.xz >/dev/null 2>&1; then
    step "apt-get update of the source index" apt-get "${apt_options[@]}" update
    download() (cd "$src_dir" && apt-get "${apt_options[@]}" source --download-only \
        qtbase-opensource-src)
    step "downloading the qtbase source package" download
fi
orig=$(ls "$src_dir"/qtbase-opensource-src_"$version"+dfsg.orig.tar.xz 2>/dev/null | head -n 1)
debian=$(ls -t "$src_dir"/qtbase-opensource-src_"$version"+dfsg-*.debian.tar.xz 2>/dev/null | head -n 1)
if [ -z "$orig" ] || [ -z "$debian" ]; then
    echo "build-qt-mingw: the qtbase $version source package is not in $src_dir" >&2
    exit 1
fi

stage "unpacking and patching"
tree="$cache/build/qtbase-$version"
rm -rf "$cache/build"
mkdir -p "$tree"
step "unpacking $orig" tar -xJf "$orig" -C "$tree" --strip-components=1
step "unpacking $debian" tar -xJf "$debian" -C "$tree"
while read -r patch _; do
    case "$patch" in '' | '#'*) continue ;; esac
    step "applying debian/patches/$patch" patch -d "$tree" -p1 -i "debian/patches/$patch"
done <"$tree/debian/patches/series"

# The posix flavour of the cross compilers under the names the win32-g++ spec calls.
shim="$cache/build/bin"
mkdir -p "$shim"
for tool in gcc g++; do
    ln -sf "$(command -v x86_64-w64-mingw32-$tool-posix)" "$shim/x86_64-w64-mingw32-$tool"
done
export PATH="$shim:$PATH"

stage "configure"
rm -rf "$prefix"
configure() (cd "$tree" && ./configure -prefix "$prefix" \
    -xplatform win32-g++ -device-option CROSS_COMPILE=x86_64-w64-mingw32- \
    -opensource -confirm-license -release -shared -strip \
    -nomake examples -nomake tests -no-gui -no-widgets -no-dbus -no-icu \
    -no-openssl -no-opengl -qt-zlib -qt-pcre -no-pch)
step "configure" configure

jobs=$(nproc)
stage "host tools and Qt Core"
step "generating the makefiles" make -C "$tree" sub-src-qmake_all
step "building Qt Core" make -C "$tree/src" -j "$jobs" sub-corelib

stage "install"
step "installing qmake" make -C "$tree" sub-qmake-qmake-aux-pro-install_subtargets
step "installing the mkspecs" make -C "$tree" install_mkspecs
step "installing the host tools" make -C "$tree/src" sub-moc-install_subtargets \
    sub-rcc-install_subtargets
step "installing Qt Core" make -C "$tree/src/corelib" install
# The compiler runtime that Qt5Core.dll and the programs built with it need.
for dll in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
    found=$(x86_64-w64-mingw32-g++-posix -print-file-name="$dll")
    if [ ! -f "$found" ]; then
        echo "build-qt-mingw: the mingw runtime $dll was not found" >&2
        exit 1
    fi
    cp "$found" "$prefix/bin/"
done
step "stripping the runtime" x86_64-w64-mingw32-strip "$prefix/bin/libstdc++-6.dll" \
    "$prefix/bin/libgcc_s_seh-1.dll" "$prefix/bin/libwinpthread-1.dll"
finish_stage
stage_name=""
rm -rf "$cache/build"
touch "$prefix/.orrery-qt-complete"
echo "Qt $version for mingw-w64 installed in $prefix in $(($(date +%s) - started)) s"
