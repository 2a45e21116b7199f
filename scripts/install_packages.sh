#!/usr/bin/env bash
# Installs what building and testing ORVIDE needs on Debian 12, and nothing when all of it is there.
#
# usage: scripts/install_packages.sh [--program] [FURTHER PACKAGE ...]
#
# --program  only what building and running the program needs
set -euo pipefail

packages=(g++ cmake ninja-build libboost-iostreams-dev zlib1g-dev libhts-dev python3)
if [[ ${1:-} == --program ]]; then
    shift
else
    packages+=(libgtest-dev libgmock-dev libbenchmark-dev clang-format clang-tidy bcftools plink2 python3-pysam
        python3-matplotlib python3-jinja2 chromium snakemake parallel)
fi
packages+=("$@")

if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    echo "packages: no apt-get here; these Debian packages, or what corresponds to them, must be there: ${packages[*]}"
    exit 0
fi

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [[ $state == "install ok installed" ]] || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
    echo "packages: all ${#packages[@]} are installed"
    exit 0
fi

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null; then
        echo "packages: missing, and neither root nor sudo to install them: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "packages: installing ${missing[*]}"
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "packages: installed ${missing[*]}"
