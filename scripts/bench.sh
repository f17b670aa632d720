#!/usr/bin/env bash
# Builds the benchmarks, runs them, prints the table and writes docs/performance.md with its plot.
# What is given goes on to the benchmark program, such as --benchmark_filter=wrap; the document then
# stays as it is.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

need_for_build
need pkg-config python3 valgrind libbenchmark-dev libprotobuf-dev protobuf-compiler libflatbuffers-dev \
    flatbuffers-compiler libcapnp-dev capnproto libmsgpack-cxx-dev libzmq3-dev cppzmq-dev \
    libqpid-proton-cpp12-dev

echo "Building" >&2
for target in bench counts; do
    build bench "$target" -DCMAKE_BUILD_TYPE=Release -DZEBBASE_BUILD_BENCH=ON \
        -DZEBBASE_BUILD_TESTS=OFF -DZEBBASE_BUILD_EXAMPLES=OFF -DZEBBASE_BUILD_TOOLS=OFF
done
program="$root/build/bench/bin/bench"
if [ $# -gt 0 ]; then
    exec "$program" "$@"
fi

# Many short repetitions in random order: what else the machine does then meets all of them alike.
echo "Measuring, for about two minutes" >&2
result="$root/build/bench/result.json"
quietly "$program" --benchmark_min_time=0.02 --benchmark_repetitions=25 \
    --benchmark_enable_random_interleaving=true \
    --benchmark_out="$result" --benchmark_out_format=json
echo "Counting instructions" >&2
profile="$root/build/bench/profile.md"
"$root/scripts/instruction_counts.py" --profile "$root/build/bench/bin/counts" > "$profile"
exec "$root/scripts/bench_report.py" "$result" "$profile" "$root/docs"
