#!/usr/bin/env bash
# Configures and builds one preset (release, debug, sanitize, tsan, coverage, fuzz, package) in build/<preset>.
#
# usage: scripts/build.sh PRESET [CMAKE OPTION ...]
#
# Uses ccache when it is installed. ORVIDE_JOBS sets the number of compilers at a time (default: all cores).
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:?usage: scripts/build.sh PRESET [CMAKE OPTION ...]}
shift
options=("$@")
if command -v ccache >/dev/null; then
    options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    # What ccache needs to keep files that use precompiled headers, and to know a file again in another clone.
    export CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi
log=build/$preset.configure.log
mkdir -p build
if ! cmake --preset "$preset" "${options[@]}" >"$log" 2>&1; then
    cat "$log"
    exit 1
fi
cmake --build --preset "$preset" --parallel "${ORVIDE_JOBS:-$(nproc)}"
