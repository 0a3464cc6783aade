# SPDX-License-Identifier: MIT
# Sourced by the build scripts (after setting $root): compiles through ccache, whose cache
# lives outside the checkout, in ~/.cache/orrery/ccache, so that a fresh clone on a machine
# that has built before compiles again only what changed. ORRERY_CCACHE=0 turns it off.
# Sets orrery_launcher to the CMake arguments that put ccache in front of the compilers.
orrery_launcher=()
if [ "${ORRERY_CCACHE:-1}" != 0 ]; then
    "$root/scripts/install-deps.sh" ccache
    export CCACHE_DIR="${CCACHE_DIR:-$HOME/.cache/orrery/ccache}"
    # Paths inside the checkout count relative to it, and the build folder's own path not at
    # all, so that clones in other folders share the cache.
    export CCACHE_BASEDIR="$root"
    export CCACHE_NOHASHDIR=true
    export CCACHE_MAXSIZE="${CCACHE_MAXSIZE:-6G}"
    orrery_launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi
