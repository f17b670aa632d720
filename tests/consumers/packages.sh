# Makes the Debian packages of a build, looks into them, and unpacks them below an empty directory.
#
#     packages.sh BUILD_DIRECTORY DIRECTORY
set -euo pipefail

build=$1 directory=$2
rm -rf "$directory"
mkdir -p "$directory/unpacked"
cd "$directory"
"$CPACK" --config "$build/CPackConfig.cmake" -G DEB -B "$directory" > cpack.log 2>&1 ||
    { cat cpack.log; exit 1; }

architecture=$(dpkg --print-architecture)
runtime="libzebbase${ABI}_${VERSION}_$architecture.deb"
development="libzebbase-dev_${VERSION}_$architecture.deb"
lib="./usr/$LIB_DIR"

# is WHAT FOUND EXPECTED
is() {
    if ! diff <(printf '%s\n' "$3") <(printf '%s\n' "$2"); then
        echo "$1 isn't what it should be"
        exit 1
    fi
}
files() {
    dpkg-deb --fsys-tarfile "$1" | tar -t | grep -v '/$' | LC_ALL=C sort
}

is "the runtime package" "$(files "$runtime")" "$lib/libzbcommon.so.$ABI
$lib/libzbcommon.so.$ABI.$VERSION
$lib/libzebbase.so.$ABI
$lib/libzebbase.so.$ABI.$VERSION
./usr/share/gdb/auto-load/usr/$LIB_DIR/libzebbase.so.$ABI.$VERSION-gdb.py"
is "the development package without headers" \
    "$(files "$development" | grep -v '^./usr/include/zebbase/[^/]*\.hpp$' | grep -v Targets)" \
    "./usr/include/zebbase/zbcommon.h
$lib/cmake/zebbase/zebbaseConfig.cmake
$lib/cmake/zebbase/zebbaseConfigVersion.cmake
$lib/libzbcommon.so
$lib/libzebbase.so
$lib/pkgconfig/zebbase.pc
./usr/share/zebbase/layout.json
./usr/share/zebbase/vectors.json"

is "what the development package needs" "$(dpkg-deb -f "$development" Depends)" \
    "libzebbase$ABI (= $VERSION)"
depends=$(dpkg-deb -f "$runtime" Depends)
for package in libc6 libstdc++6; do
    if [[ ", $depends" != *", $package (>="* ]]; then
        echo "the runtime package doesn't need $package: $depends"
        exit 1
    fi
done
if [[ $depends == *zebbase* ]]; then
    echo "the runtime package needs itself: $depends"
    exit 1
fi
is "shlibs" "$(dpkg-deb -I "$runtime" shlibs | LC_ALL=C sort)" \
    "libzbcommon $ABI libzebbase$ABI (>= $VERSION)
libzebbase $ABI libzebbase$ABI (>= $VERSION)"

# A build without the tools has no package of them.
for package in zebbase-tools_*.deb; do
    if [ -e "$package" ] &&
        [[ ", $(dpkg-deb -f "$package" Depends)" != *", libzebbase$ABI (>= $VERSION)"* ]]; then
        echo "the tools don't need the library: $(dpkg-deb -f "$package" Depends)"
        exit 1
    fi
done

for package in "$runtime" "$development"; do
    dpkg-deb -x "$package" unpacked
done
