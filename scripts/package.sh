#!/usr/bin/env bash
# Builds the program and puts it with its tools, documents and man pages into a Debian package.
#
# usage: scripts/package.sh [FOLDER [PRESET]]
#
# FOLDER  where the package is written (default: build/package)
# PRESET  the build that it is made of (default: package, a build without tests)
set -euo pipefail
cd "$(dirname "$0")/.."

folder=${1:-build/package}
preset=${2:-package}
mkdir -p "$folder"
folder=$(realpath "$folder")
[[ -n ${2:-} ]] || scripts/build.sh package
cpack --config "build/$preset/CPackConfig.cmake" -G DEB -B "build/$preset/cpack" >build/package.log 2>&1 || {
    cat build/package.log
    exit 1
}
cp "build/$preset"/cpack/*.deb "$folder"
ls "$folder"/*.deb
