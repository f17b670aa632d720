# What the two libraries show to the outside, by their symbol tables.
. "$(dirname "$0")/common.sh"

lib="$PREFIX/$LIB_DIR"
set +e +o pipefail # a search that finds nothing is what is hoped for here
: > complaints.txt
# complain TEXT: notes the lines of standard input under the text, if there are any.
complain() {
    local lines
    lines=$(cat)
    if [ -n "$lines" ]; then
        printf '%s:\n%s\n' "$1" "$lines" >> complaints.txt
    fi
}

classes="ZebErr ZebTrc ZebSem ZebItm ZebHdr ZebCac ZebMtr ZebMsg ZebStr ZebBin ZebDlh ZebTih ZebHih
    ZebWih ZebRfh ZebTrg ZebGmo ZebGmo3 ZebChl"
class="($(echo $classes | tr ' ' '|'))"

# The names alone, as a C++ programmer reads them, each with its version.
nm -D --defined-only -C "$lib/libzebbase.so" | sed -E 's/^[0-9a-f]* . //' |
    grep -vx "ZEBBASE_$ABI" > exported.txt
sed -E 's/@@?ZEBBASE_[0-9]+$//' exported.txt > names.txt

grep -v "@@ZEBBASE_$ABI\$" exported.txt | complain "exported without the version"
grep -vE -e "^$class::" \
    -e "^(vtable|typeinfo|typeinfo name|VTT) for $class\$" \
    -e "^construction vtable for ZebCac-in-ZebMsg\$" \
    -e "^construction vtable for ZebMtr-in-ZebMsg\$" \
    -e "^(non-virtual|virtual) thunk to $class::" \
    -e '^(WhiteSpace\(char\)|DllMain|ZebStrCleanUp)$' names.txt |
    complain "exported, but no part of the interface"
grep -E -e '^ZebStr::(text|storage)\(\)' -e '^ZebBin::data(Length|Pointer)\(\)' -e 'operator\+' \
    names.txt | grep -v '^ZebStr::operator+' | complain "exported, but inline in its class"
for name in $classes; do
    grep -q "^$name::" names.txt || echo "$name"
done | complain "classes that aren't exported"
for name in 'WhiteSpace(char)' DllMain ZebStrCleanUp; do
    grep -qxF "$name" names.txt || echo "$name"
done | complain "functions that aren't exported"

# The library and its counterpart meet in six names.
printf '%s\n' svcCheckPointer svcInitialize svcThreadSlot trcFunctionEntry trcFunctionReturn \
    trcText > six.txt
nm -D --defined-only "$lib/libzbcommon.so" | sed -E 's/^[0-9a-f]* . //' | sort > provided.txt
diff six.txt provided.txt | complain "libzbcommon doesn't export just the six names"
nm -D --undefined-only "$lib/libzebbase.so" | sed -E 's/^ *. //' | sort > wanted.txt
comm -23 six.txt wanted.txt | complain "names of zbcommon that the library doesn't import"
grep -E '^(svc|trc)' wanted.txt | grep -vxFf six.txt | complain "further names imported from zbcommon"

# Both carry their ABI number, and find each other wherever they lie.
for name in zebbase zbcommon; do
    readelf -d "$lib/lib$name.so" > dynamic.txt
    grep -q "SONAME.*\[lib$name.so.$ABI\]" dynamic.txt || echo "$name: SONAME"
    grep -q 'RUNPATH.*\[$ORIGIN\]' dynamic.txt || echo "$name: RUNPATH"
    # The fault handler must not be unloaded from under the process.
    [ $name = zebbase ] || grep -qw NODELETE dynamic.txt || echo "$name: NODELETE"
done | complain "wrong in the dynamic section"

cat complaints.txt
[ ! -s complaints.txt ]
