#!/usr/bin/env bash
# Makes the Debian package, unpacks it in a folder of its own, and imputes the example data with what is there, as
# scripts/demo.sh does with a build.
#
# usage: tests/package/check_package.sh [PRESET]
#
# PRESET  the build that the package is made of (default: one of its own)
set -euo pipefail
cd "$(dirname "$0")/../.."

for tool in cpack dpkg-deb dpkg-shlibdeps; do
    if ! command -v "$tool" >/dev/null; then
        echo "skipped: no $tool"
        exit 77
    fi
done
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
scripts/package.sh "$folder" "$@" >"$folder/log" || {
    cat "$folder/log"
    exit 1
}
package=("$folder"/orvide_*.deb)
dpkg-deb --field "${package[0]}" Package Version Depends
dpkg-deb --extract "${package[0]}" "$folder/root"

fail() {
    echo "FAIL $*"
    exit 1
}
root=$folder/root/usr
data=$root/share/doc/orvide/examples
for file in share/man/man1/orvide.1 share/man/man1/orvide-plan.1 share/man/man1/orvide-ligate.1 \
    share/man/man1/orvide-report.1 share/doc/orvide/README.md share/doc/orvide/tutorial.md; do
    [[ -e $root/$file || -e $root/$file.gz ]] || fail "the package has no $file"
done
for command in orvide orvide-plan orvide-ligate orvide-report; do
    for file in "bin/$command" "share/bash-completion/completions/$command" "share/zsh/site-functions/_$command" \
        "share/fish/vendor_completions.d/$command.fish"; do
        [[ -e $root/$file ]] || fail "the package has no $file"
    done
done
"$root/bin/orvide" --version | grep -q '^ORVIDE version ' || fail "the program does not start"
(cd "$folder" && "$root/bin/orvide" -m "$data/map.txt" -h "$data/panel.vcf.gz" -g "$data/study.vcf.gz" -chr 20 \
    -int 1050000 1350000 -buffer 50 -seed 1 -o example.vcf.gz >log 2>&1) || fail "the imputation: $(cat "$folder/log")"
lines=$(zcat "$folder/example.vcf.gz" | grep -vc '^#')
[[ $lines -gt 500 ]] || fail "only $lines sites were written"
echo "PASS the package imputes $lines sites of the example data"
