#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks that the library keeps the ABI recorded in abi/OrreryCore.abi.
#
# Builds libOrreryCore (Qt 5, RelWithDebInfo, into build-abi/), writes its ABI with abidw
# (types of the public headers only, no source locations) and compares it with the record:
#   - the same ABI, or the record plus new functions, variables or types: passes;
#   - anything else (a removed or changed function, a changed type layout, another
#     SONAME): fails with abidiff's report.
# The record may only grow while the SONAME stays: every earlier version of the record in
# the git history that has the same SONAME is compared with the current one in the same way,
# so re-recording a break without raising ORRERY_SOVERSION fails as well.
#   --update     write the record anew from the build (after additions, or together with a
#                raised ORRERY_SOVERSION after a break; see docs/releasing.md)
#   --build-dir D  build in D instead of build-abi/
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)

update=no
build_dir="$root/build-abi"
while [ $# -gt 0 ]; do
    case "$1" in
        --update) update=yes ;;
        --build-dir) build_dir=$2; shift ;;
        *) echo "unknown option: $1" >&2; exit 2 ;;
    esac
    shift
done

record="$root/abi/OrreryCore.abi"
"$root/scripts/install-deps.sh" abigail-tools

# No compiler cache here: objects compiled in another checkout carry that checkout's paths
# in their debugging information, and abidw tells public types by the header they are
# declared in.
cmake -S "$root" -B "$build_dir" -G Ninja \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DORRERY_QT_MAJOR_VERSION=5 \
    -DORRERY_BUILD_TESTS=OFF -DORRERY_BUILD_TOOLS=OFF -DORRERY_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build_dir" --target OrreryCore -j "$(nproc)"

library=$(readlink -f "$build_dir/src/libOrreryCore.so")
current="$build_dir/OrreryCore.abi"
abidw --headers-dir "$root/include" --headers-dir "$build_dir/include" \
    --drop-private-types --no-show-locs --no-corpus-path \
    --out-file "$current" "$library"

soname_of() { sed -n 's/.*<abi-corpus [^>]*soname=.\([^"'\'']*\).*/\1/p' "$1" | head -n 1; }

if [ "$update" = yes ]; then
    mkdir -p "$(dirname "$record")"
    cp "$current" "$record"
    echo "ABI record written: abi/OrreryCore.abi ($(soname_of "$record"))"
    exit 0
fi
if [ ! -f "$record" ]; then
    echo "check-abi: no record at abi/OrreryCore.abi; write it with --update" >&2
    exit 1
fi

# Compares two ABI representations; additions pass. abidiff's exit status is a bit field:
# 1 tool error, 2 usage error, 4 ABI change, 8 incompatible ABI change.
compare() {
    local old=$1 new=$2 label=$3 status=0 report
    report=$(abidiff --no-added-syms --suppressions "$suppressions" "$old" "$new") || status=$?
    if [ $((status & 3)) -ne 0 ]; then
        echo "$report"
        echo "check-abi: abidiff could not compare $label (status $status)" >&2
        return 1
    fi
    if [ "$status" -ne 0 ]; then
        echo "$report"
        echo "check-abi: $label breaks the ABI (abidiff status $status)." >&2
        return 1
    fi
    echo "check-abi: $label: no ABI change beyond additions"
}

# Standard-library template instantiations that leak into the exported symbols (see there).
suppressions="$root/abi/suppressions.ini"

failed=0
compare "$record" "$current" "the library built now, against abi/OrreryCore.abi" || failed=1

# Earlier versions of the record with the SONAME of the current one.
soname=$(soname_of "$record")
if git -C "$root" rev-parse --is-shallow-repository 2>/dev/null | grep -qx false; then
    earlier="$build_dir/abi-history"
    rm -rf "$earlier"
    mkdir -p "$earlier"
    for commit in $(git -C "$root" log --format=%H -- abi/OrreryCore.abi); do
        git -C "$root" show "$commit:abi/OrreryCore.abi" >"$earlier/$commit.abi" 2>/dev/null || continue
        [ "$(soname_of "$earlier/$commit.abi")" = "$soname" ] || continue
        cmp -s "$earlier/$commit.abi" "$record" && continue
        compare "$earlier/$commit.abi" "$record" \
            "abi/OrreryCore.abi against its version of commit ${commit:0:12}" || failed=1
    done
else
    echo "check-abi: no git history here; earlier records not compared"
fi

if [ "$failed" -ne 0 ]; then
    cat >&2 <<'EOF'
check-abi: the ABI of libOrreryCore changed incompatibly. Keep the old interface, or raise
ORRERY_SOVERSION in CMakeLists.txt and write the record anew with
`bash scripts/check-abi.sh --update` in the same change (docs/releasing.md).
EOF
    exit 1
fi
# The same comparison with additions counted tells whether the library adds to the record.
if ! additions=$(abidiff --suppressions "$suppressions" "$record" "$current"); then
    echo "$additions"
    echo "check-abi: the library adds to the recorded ABI; take the additions into the" \
        "record with --update (at the latest when the release is cut)"
fi
echo "check-abi: $soname keeps its ABI"
