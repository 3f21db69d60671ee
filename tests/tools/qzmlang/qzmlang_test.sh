#!/bin/sh
# Usage: qzmlang_test.sh QZMLANG CASE — one group of checks in a fresh directory; the first
# failed check ends the run with status 1.
set -eu
QZMLANG=$1
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT

check() { "$@" || { echo "FAIL: $*" >&2; exit 1; }; }
# run STATUS ARGS...: qzmlang must exit with STATUS; its output is kept in out and err.
run() {
    want=$1
    shift
    got=0
    "$QZMLANG" "$@" >out 2>err || got=$?
    check test "$got" -eq "$want"
}

case $2 in
usage)
    run 0 --help && check grep -q "qzmlang build SOURCE.txt OUT.lng" out
    run 0 --version && check grep -q "^qzmlang (qzm) [0-9]*\.[0-9]*\.[0-9]*$" out
    run 2 && check grep -q "^qzmlang: missing command" err && check grep -q "^usage:" err
    run 2 build only.txt && check grep -q "^qzmlang: build needs" err
    run 2 frobnicate a b && check grep -q "^qzmlang: unknown command" err ;;
roundtrip)
    # Comments, blank lines, CRLF, unsorted and zero-padded numbers, a literal tab.
    printf '# menu\r\nname: Fran\303\247ais\r\n\r\n10: Quitter\\tQ\n2:\n' >messy.txt
    printf '007: Nouvelle partie\\nPr\303\252t ?\n0: Jouer   \n1: C:\\\\jeux\tsave\n' >>messy.txt
    printf 'name: Fran\303\247ais\n0: Jouer   \n1: C:\\\\jeux\\tsave\n2:\n' >canonical.txt
    printf '7: Nouvelle partie\\nPr\303\252t ?\n10: Quitter\\tQ\n' >>canonical.txt
    run 0 build messy.txt fr.lng && check test ! -s err
    check test "$(head -c 6 fr.lng | od -An -tx1 | tr -d ' \n')" = 4c616e47000a
    run 0 dump fr.lng && check cmp -s out canonical.txt
    run 0 build canonical.txt again.lng && check cmp -s fr.lng again.lng ;;
errors)
    printf 'name: English\n\n1 Hello\n' >bad.txt
    run 1 build bad.txt bad.lng && check grep -q '^qzmlang: bad.txt:3: expected "NUMBER: text"' err
    check test ! -e bad.lng
    run 1 build missing.txt out.lng && check grep -q 'missing.txt: cannot open' err
    printf 'name: English\n0: hi\n' >good.txt
    run 1 build good.txt no/such/dir/out.lng && check grep -q 'cannot create' err
    printf 'LanG\000\005Eng' >short.lng
    run 1 dump short.lng && check test ! -s out
    check grep -q '^qzmlang: short.lng: not a readable language file' err ;;
*)
    echo "unknown case $2" >&2
    exit 2 ;;
esac
