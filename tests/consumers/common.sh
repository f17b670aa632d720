# Sourced by the consumer tests. An empty directory of the test's own, the README's program in it as
# program.cpp and what that program is said to print as expected.txt.

set -euo pipefail

rm -rf "$WORK_DIR"
mkdir -p "$WORK_DIR"
cd "$WORK_DIR"

# block KIND: the first fenced block of that kind in the README.
block() {
    awk -v fence="\`\`\`$1" '$0 == fence { inside = 1; next }
        inside && $0 == "```" { exit }
        inside { print }' "$SOURCE_DIR/README.md"
}
block cpp > program.cpp
block text > expected.txt
[ -s program.cpp ] && [ -s expected.txt ]

# prints_as_told COMMAND...: the command succeeds and prints what the README says.
prints_as_told() {
    "$@" > printed.txt
    diff expected.txt printed.txt
}
