#!/usr/bin/env bash
# scripts/coverage.sh    says which lines and branches of the library the tests don't reach
#
# Branches that only an exception takes don't count. What is left out stands in the sources, as
# GCOVR_EXCL with its reason. Fails where anything else was not reached; the pages are in
# build/coverage/report.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$root"

need_for_build
need gcovr libgtest-dev
build coverage all -DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O0 --coverage" \
    -DZEBBASE_BUILD_EXAMPLES=OFF -DZEBBASE_BUILD_TOOLS=OFF
find build/coverage -name '*.gcda' -delete
quietly ctest --test-dir build/coverage --parallel "$jobs" --exclude-regex '^(consumer|document|samples)_'

mkdir -p build/coverage/report
gcovr --root . --object-directory build/coverage \
    --filter 'include/' --filter 'frame/' --filter 'platform/' --filter 'values/' --filter 'message/' \
    --filter 'headers/' --filter 'options/' --filter 'zbcommon/' \
    --exclude-throw-branches --exclude-unreachable-branches \
    --html-details build/coverage/report/index.html --txt - --branches \
    --fail-under-branch 100
gcovr --root . --object-directory build/coverage \
    --filter 'include/' --filter 'frame/' --filter 'platform/' --filter 'values/' --filter 'message/' \
    --filter 'headers/' --filter 'options/' --filter 'zbcommon/' \
    --exclude-throw-branches --exclude-unreachable-branches --txt - --fail-under-line 100
