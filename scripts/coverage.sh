#!/usr/bin/env bash
# Says which lines of src/ the tests run: builds with coverage counters, runs the unit tests and the whole-run cases, and
# prints gcovr's summary by file. build/coverage/html/index.html shows the lines themselves.
#
# usage: scripts/coverage.sh
#
# ORVIDE_JOBS  compilers at a time (default: all cores)
set -euo pipefail
cd "$(dirname "$0")/.."

folder=build/coverage
mkdir -p "$folder/html"
# The counters of an earlier run would be added to.
find "$folder" -name '*.gcda' -delete
scripts/install_packages.sh gcovr
scripts/build.sh coverage

# Tests that fail cover lines too; the summary comes all the same, and the exit status tells of them.
status=0
"$folder/tests/orvide_tests" --gtest_brief=1 || status=1
cases=$folder/cases.log
python3 tests/run/run_cases.py --binary "$folder/orvide" >"$cases" || status=1
grep -v '^PASS' "$cases"

gcovr --root . --filter src/ --html-details "$folder/html/index.html" --txt - "$folder"
exit "$status"
