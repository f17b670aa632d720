# A CMake project that finds the installed package, under a standard and warnings of its own.
. "$(dirname "$0")/common.sh"

export CXXFLAGS="-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Werror"
for standard in 17 20; do
    "$CMAKE" -S "$SOURCE_DIR/tests/consumers/find_package" -B "build$standard" \
        -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_CXX_COMPILER="$CXX" \
        -DCMAKE_CXX_STANDARD="$standard" -DPROGRAM="$WORK_DIR/program.cpp" > configure.log
    "$CMAKE" --build "build$standard" --verbose > build.log || { cat build.log; exit 1; }
    prints_as_told "build$standard/program"
done

# Of the package only include directories reach the compiler: all else is the consumer's own.
printf '%s\n' $CXXFLAGS "-std=gnu++$standard" | sort > own.txt
grep -- ' -c .*program\.cpp' build.log | tr ' ' '\n' | grep '^-' |
    grep -vE '^-(I|isystem|M|o$|c$)' | sort > flags.txt
diff own.txt flags.txt
