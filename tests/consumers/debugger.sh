# GDB shows the library's objects, with the views that it loads from beside the installed library.
. "$(dirname "$0")/common.sh"

"$CXX" -g -O0 "$SOURCE_DIR/tests/consumers/debugger/program.cpp" -o program \
    -I"$PREFIX/include/zebbase" -L"$PREFIX/$LIB_DIR" -lzebbase -Wl,-rpath,"$PREFIX/$LIB_DIR"

cat > expected.txt <<'END'
"GROCER.ORDERS"
""
3 bytes: 01 02 ff
2 bytes in user buffer of 16, cursor 2, failed 6112 = {data = 61 62}
10 bytes in automatic buffer of 10, cursor 4
data = 33 20 78 20 6c 65 6d 6f 6e 73
ZBMD of 364 bytes
userId = "GROCER"
ZBDLH of 172 bytes
ZBTIH of 180 bytes
facilityToken = 00 00 00 00 00 00 00 aa
ZBHIH of 84 bytes
ZBWIH of 120 bytes
ZBRMH of 108 bytes
ZBTM of 684 bytes
ZBTMC2 of 732 bytes
version = "   2"
ZBGMO of 80 bytes
ZBGMO3 of 100 bytes
gmoWord96 = -1
ZBCD of 1888 bytes
channelName = "ORDERS.CLIENT"
sslPeerNamePointer = null
END
views="$PREFIX/share/gdb/auto-load"
shown=(text none bytes cache message message.descriptor_ deadLetter bridge bridge2 work reference
    trigger.record_ characters options.record_ '*options3.record_' '*channel.record_')
HOME="$WORK_DIR" LC_ALL=C gdb -q -batch -nx -iex "set debuginfod enabled off" \
    -iex "add-auto-load-safe-path $views" -iex "add-auto-load-scripts-directory $views" \
    -ex "set width 0" -ex "set print elements 0" -ex "break look" -ex run -ex up \
    "${shown[@]/#/-ex=print }" ./program > printed.txt 2>&1 </dev/null || { cat printed.txt; exit 1; }

# Each expectation in this order, somewhere in what was printed.
rest=$(cat printed.txt)
while IFS= read -r line; do
    if [[ $rest != *"$line"* ]]; then
        echo "gdb doesn't show: $line"
        cat printed.txt
        exit 1
    fi
    rest=${rest#*"$line"}
done < expected.txt
