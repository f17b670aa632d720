# A program that loads the library at run time, by way of a plug-in that uses it, and unloads it.
. "$(dirname "$0")/common.sh"

sources="$SOURCE_DIR/tests/consumers/dlopen"
"$CXX" "$sources/host.cpp" -o host -rdynamic -ldl
"$CXX" -shared -fPIC "$sources/plugin.cpp" -o plugin.so \
    -I"$PREFIX/include/zebbase" -L"$PREFIX/$LIB_DIR" -lzebbase -Wl,-rpath,"$PREFIX/$LIB_DIR"
ZBCOMMON_TRACE="$WORK_DIR/trace.txt" ./host "$WORK_DIR/plugin.so" "libzebbase.so.$ABI"

# Each of the two unloads released what the plug-in's use had made.
releases=$(grep -c 'Releasing ZebString resources' trace.txt)
if [ "$releases" -ne 2 ]; then
    echo "$releases releases in the trace instead of 2:"
    cat trace.txt
    exit 1
fi
