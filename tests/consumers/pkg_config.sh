# A compiler call by hand with what pkg-config says.
. "$(dirname "$0")/common.sh"

export PKG_CONFIG_PATH="$PREFIX/$LIB_DIR/pkgconfig"
"$CXX" program.cpp $(pkg-config --cflags --libs zebbase) -o program
LD_LIBRARY_PATH="$PREFIX/$LIB_DIR" prints_as_told ./program

# The installed tree can be moved.
cp -a "$PREFIX" moved
export PKG_CONFIG_PATH="$WORK_DIR/moved/$LIB_DIR/pkgconfig"
flags=$(pkg-config --cflags --libs zebbase)
if [[ $flags == *"$PREFIX"* ]]; then
    echo "pkg-config still names the old place: $flags"
    exit 1
fi
"$CXX" program.cpp $flags -o program
LD_LIBRARY_PATH="moved/$LIB_DIR" prints_as_told ./program
