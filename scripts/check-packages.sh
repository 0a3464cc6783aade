#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks the Debian packages made by scripts/make-packages.sh on this machine: installs
# the three with apt-get, builds the consumer of tests/package against /usr with CMake and
# with pkg-config (found there without being pointed at it) and runs it, runs
# `/usr/bin/orrery demo` with a temporary home, then removes the packages and checks that
# none of their files and folders is left. Refuses to run when any of the packages is
# installed, or any of their files present, already; a trap removes the packages again
# when a step fails.
#   --dir D   where the .deb files are (default build-deb/packages)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
start=$SECONDS

deb_dir="$root/build-deb/packages"
while [ $# -gt 0 ]; do
    case "$1" in
        --dir) deb_dir=$(cd "$2" && pwd); shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

fail() {
    echo "check-packages: $*" >&2
    exit 1
}
elapsed() {
    echo "$((SECONDS - start)) s"
}

mapfile -t debs < <(find "$deb_dir" -maxdepth 1 -name '*.deb' | sort)
[ ${#debs[@]} -eq 3 ] ||
    fail "expected the 3 packages of scripts/make-packages.sh in $deb_dir, found ${#debs[@]}"
soversion=$(sed -n 's/^set(ORRERY_SOVERSION \([0-9]*\)).*/\1/p' "$root/CMakeLists.txt")
packages=()
for deb in "${debs[@]}"; do
    packages+=("$(dpkg-deb -f "$deb" Package)")
done
[ "$(printf '%s\n' "${packages[@]}" | sort | xargs)" = \
  "$(printf '%s\n' "liborrerycore$soversion" liborrerycore-dev orrery-tools | sort | xargs)" ] ||
    fail "unexpected packages in $deb_dir: ${packages[*]}"

"$root/scripts/install-deps.sh"

# dpkg's state of a package: empty when dpkg knows nothing of it.
known_state() {
    local status
    status=$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null || true)
    [ "$status" = not-installed ] || echo "$status"
}

for package in "${packages[@]}"; do
    status=$(known_state "$package")
    [ -z "$status" ] ||
        fail "$package is installed already ($status); remove it first: apt-get purge $package"
done

work=$(mktemp -d "${TMPDIR:-/tmp}/orrery-check-packages.XXXXXX")
installed=no
cleanup() {
    if [ "$installed" = yes ]; then
        echo "check-packages: removing the packages after the failure" >&2
        DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq -o DPkg::Lock::Timeout=300 \
            "${packages[@]}" > /dev/null 2>&1 || true
    fi
    rm -rf "$work"
}
trap cleanup EXIT

# What the packages hold. A file of theirs that is already there comes from another
# installation (say `cmake --install --prefix /usr`): dpkg would take it over, and the
# check after removal would prove nothing.
for deb in "${debs[@]}"; do
    dpkg-deb --fsys-tarfile "$deb" | tar -t | sed 's|^\./|/|; s|/$||' | grep -v '^\.\?$'
done | sort -u > "$work/paths"
: > "$work/new-dirs"
while IFS= read -r path; do
    if [ -d "$path" ] && [ ! -L "$path" ]; then
        continue
    fi
    if [ -e "$path" ] || [ -L "$path" ]; then
        fail "$path is present already, though none of the packages is installed"
    fi
    # A folder the packages bring must go with them.
    if awk -v dir="$path/" 'index($0, dir) == 1 { found = 1; exit } END { exit !found }' \
           "$work/paths"; then
        echo "$path" >> "$work/new-dirs"
    fi
done < "$work/paths"

echo "== install ($(elapsed))"
installed=yes
DEBIAN_FRONTEND=noninteractive apt-get install -y -o DPkg::Lock::Timeout=300 \
    --no-install-recommends "${debs[@]}" > "$work/apt.log" 2>&1 ||
    fail "apt-get install failed:"$'\n'"$(cat "$work/apt.log")"
for package in "${packages[@]}"; do
    dpkg -L "$package" >> "$work/installed"
    echo "$package $(dpkg-query -W -f='${Version}' "$package"): $(dpkg -L "$package" |
        while IFS= read -r f; do [ -d "$f" ] || echo "$f"; done | wc -l) files"
done
sort -u -o "$work/installed" "$work/installed"
# (Output read first: grep -q would stop reading it, and the pipe fail.)
cache=$(ldconfig -p)
grep -q "libOrreryCore\.so\.$soversion " <<< "$cache" ||
    fail "libOrreryCore.so.$soversion is not in the loader's cache (the ldconfig trigger did not run)"
if grep -Eq '\((RPATH|RUNPATH)\)' <<< "$(readelf -d /usr/bin/orrery)"; then
    fail "/usr/bin/orrery has a run path"
fi
# (/lib is /usr/lib on a merged-/usr system.)
libs=$(ldd /usr/bin/orrery)
grep -Eq "libOrreryCore\.so\.$soversion => (/usr)?/lib/[^ ]+/libOrreryCore\.so\.$soversion " <<< "$libs" ||
    fail "/usr/bin/orrery does not load the installed library:"$'\n'"$libs"

echo "== consumer against /usr, with CMake and with pkg-config ($(elapsed))"
(
    unset LD_LIBRARY_PATH PKG_CONFIG_PATH CMAKE_PREFIX_PATH
    cmake -DPREFIX=/usr -DSYSTEM=ON -DWORK_DIR="$work/consumer" \
        -DCONSUMER_SOURCE_DIR="$root/tests/package/consumer" -DCXX_COMPILER="${CXX:-c++}" \
        -DPACKAGE_NAME=OrreryCore -DPC_NAME=orrerycore -DINCLUDE_DIR=include -DQT_MAJOR=5 \
        -P "$root/tests/package/run_consumer_test.cmake"
) || fail "the consumer did not build or run against the installed packages"
echo "consumer: $("$work/consumer/build/consumer")"

echo "== /usr/bin/orrery demo ($(elapsed))"
mkdir -p "$work/home" "$work/config" "$work/run"
status=0
(
    cd "$work/run"
    unset VEXIL_INSTALLATION_DIR KORVANE_DIR VEXIL_REGISTRY_FILE VEXIL_REFERRED_COMPONENT_FILE \
          VEXIL_INSTALLINFO_FILE LD_LIBRARY_PATH
    HOME="$work/home" XDG_CONFIG_HOME="$work/config" /usr/bin/orrery demo
) > "$work/demo.txt" 2>&1 || status=$?
[ "$status" -eq 0 ] || fail "orrery demo exited with $status:"$'\n'"$(cat "$work/demo.txt")"
[[ "$(head -n 1 "$work/demo.txt")" == *"example data in /usr/share/orrery/examples" ]] ||
    fail "orrery demo did not run on the installed examples:"$'\n'"$(head -n 3 "$work/demo.txt")"
[ "$(tail -n 1 "$work/demo.txt")" = "Every step ran." ] ||
    fail "orrery demo did not finish:"$'\n'"$(tail -n 5 "$work/demo.txt")"
head -n 1 "$work/demo.txt"
echo "$(grep -c '^[0-9]\.' "$work/demo.txt") steps; $(tail -n 1 "$work/demo.txt")"

echo "== remove ($(elapsed))"
DEBIAN_FRONTEND=noninteractive apt-get purge -y -o DPkg::Lock::Timeout=300 \
    "${packages[@]}" > "$work/apt.log" 2>&1 ||
    fail "apt-get purge failed:"$'\n'"$(cat "$work/apt.log")"
installed=no
for package in "${packages[@]}"; do
    status=$(known_state "$package")
    [ -z "$status" ] || fail "$package is still known to dpkg after its removal ($status)"
done
left=$(while IFS= read -r path; do
    if [ -d "$path" ] && [ ! -L "$path" ]; then
        if grep -qFx -- "$path" "$work/new-dirs"; then
            echo "$path"
        fi
    elif [ -e "$path" ] || [ -L "$path" ]; then
        echo "$path"
    fi
done < "$work/installed")
[ -z "$left" ] || fail "left behind after the removal:"$'\n'"$left"
if grep -q "libOrreryCore\.so\.$soversion " <<< "$(ldconfig -p)"; then
    fail "libOrreryCore.so.$soversion is still in the loader's cache"
fi
echo "removed: no file or folder of the packages left ($(wc -l < "$work/installed") paths" \
     "checked), none in the loader's cache"
echo "== packages checked ($(elapsed))"
