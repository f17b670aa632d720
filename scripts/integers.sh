#!/usr/bin/env bash
# scripts/integers.sh    runs the tests with every doubtful use of an integer as an error
#
# Clang's checks go further than those of ./test: sums of unsigned numbers that wrap and conversions
# that lose something are defined, but mostly not meant. In this project they are never meant; only
# the headers of others are left out.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$root"

need_for_build
need clang libclang-rt-14-dev libgtest-dev
build integers all -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug \
    "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g1 -fsanitize-ignorelist=$root/tests/support/integers.ignore" \
    -DZEBBASE_SANITIZE=undefined,integer,implicit-conversion,local-bounds \
    -DZEBBASE_BUILD_EXAMPLES=OFF -DZEBBASE_BUILD_TOOLS=OFF
exec ctest --test-dir build/integers --output-on-failure --parallel "$jobs" </dev/null
