# A CMake project that builds the library as a part of itself, with its own warnings as errors.
. "$(dirname "$0")/common.sh"

export CXXFLAGS="-O0 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wcast-align -Werror"
"$CMAKE" -S "$SOURCE_DIR/tests/consumers/subdirectory" -B build \
    -DCMAKE_CXX_COMPILER="$CXX" -DPROGRAM="$WORK_DIR/program.cpp" \
    -DZEBBASE_SOURCE="$SOURCE_DIR" > configure.log
"$CMAKE" --build build --parallel 2 > build.log || { cat build.log; exit 1; }
prints_as_told build/program

# Tests, examples and installation of the whole are the consumer's own.
if "$CMAKE" --build build --target help | grep -qw road; then
    echo "the examples are built for a consumer that didn't ask for them"
    exit 1
fi
