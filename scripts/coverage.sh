#!/usr/bin/env bash
# scripts/coverage.sh    says which lines and branches of the library the tests don't reach
#
# Branches that only an exception takes don't count. What else is left out, and why, stands in
# scripts/coverage_report.py. Fails where anything else was not reached; the pages are in
# build/coverage/report.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$root"

need_for_build
need gcovr libgtest-dev python3
# A function that is inlined everywhere would count anew for each of its callers.
build coverage all -DCMAKE_BUILD_TYPE=Debug \
    "-DCMAKE_CXX_FLAGS_DEBUG=-O0 --coverage -fprofile-update=atomic -Dalways_inline=noinline" \
    -DZEBBASE_BUILD_EXAMPLES=OFF -DZEBBASE_BUILD_TOOLS=OFF
find build/coverage -name '*.gcda' -delete
quietly ctest --test-dir build/coverage --parallel "$jobs" --exclude-regex '^(consumer|document|samples)_'

mkdir -p build/coverage/report
filters=()
for folder in include frame platform values message headers options zbcommon; do
    filters+=(--filter "$folder/")
done
gcovr --root . --object-directory build/coverage "${filters[@]}" --exclude-throw-branches \
    --exclude-unreachable-branches --html-details build/coverage/report/index.html \
    --json build/coverage/report/coverage.json
scripts/coverage_report.py build/coverage/report/coverage.json
