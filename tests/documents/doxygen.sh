# Every public name is documented: doxygen's warnings are errors.
set -euo pipefail
doxygen=$1 source=$2 output=$3
rm -rf "$output"
mkdir -p "$output"
cd "$source"
{ cat docs/Doxyfile; echo "OUTPUT_DIRECTORY = \"$output\""; } | "$doxygen" -
[ -s "$output/doxygen/classZebMsg.html" ]
