#!/usr/bin/env bash
# Holds a built library against what is stored here of its binary interface.
#
#   check.sh symbols LIBRARY              its exported symbols are those of symbols.txt
#   check.sh interface LIBRARY HEADERS    a program built against the stored interface still runs
#   check.sh update LIBRARY HEADERS       stores both anew
#
# A new symbol is no break, but it has to be stored. A symbol that goes, or a public type that
# changes, asks for a new ABI number (ZEBBASE_ABI) and an ABI line in CHANGELOG.md.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
library=$2

# As the linker has them, and as people read them.
symbols() {
    paste <(nm -D --defined-only "$library" | sed -E 's/^[0-9a-f]* . //') \
        <(nm -D --defined-only -C "$library" | sed -E 's/^[0-9a-f]* . //; s/@@?ZEBBASE_[0-9]+$//') |
        LC_ALL=C sort
}

# The interface as abidw tells it: what the public headers declare, without places.
interface() {
    abidw --headers-dir "$1" --drop-private-types --suppressions "$here/suppressions.ini" \
        --exported-interfaces-only --no-show-locs --no-comp-dir-path --no-corpus-path \
        --no-parameter-names --no-write-default-sizes --no-elf-needed "$library" |
        sed "s#path='[^']*/\([^/']*/[^/']*\)'#path='\1'#"
}

case $1 in
symbols)
    diff -U0 "$here/symbols.txt" <(symbols)
    ;;
interface)
    work=$(mktemp -d)
    trap 'rm -rf "$work"' EXIT
    gzip -dc "$here/interface.xml.gz" > "$work/stored.xml"
    interface "$3" > "$work/built.xml"
    abidiff --no-added-syms "$work/stored.xml" "$work/built.xml"
    ;;
update)
    symbols > "$here/symbols.txt"
    interface "$3" | gzip -9n > "$here/interface.xml.gz"
    ;;
*)
    echo "there is no check '$1'" >&2
    exit 2
    ;;
esac
