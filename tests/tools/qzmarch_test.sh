#!/bin/sh
# Usage: qzmarch_test.sh QZMARCH CASE — runs one command's checks in a fresh directory.
set -u
QZMARCH=$1
WORK=$(mktemp -d) || exit 1
trap 'rm -rf "$WORK"' EXIT
cd "$WORK" || exit 1
FAILURES=0
LONG=abcdefghijklmnopqrstuvwxyz0123456 # 33 characters: too long for QZM, fine for PAK

fail() { echo "FAIL: $*" >&2; FAILURES=$((FAILURES + 1)); }

# expect STATUS ARGS...: runs qzmarch, keeping its output in out and err.
expect() {
    want=$1; shift
    "$QZMARCH" "$@" >out 2>err
    got=$?
    [ "$got" -eq "$want" ] || fail "qzmarch $* exited $got, expected $want: $(cat err)"
    # A sanitizer's report also exits 1, so look for it.
    ! grep -q -e Sanitizer -e 'runtime error' err || fail "qzmarch $*: $(cat err)"
}

# refused ARGS...: the command fails, says why, and leaves arch.qzm byte-identical.
refused() {
    cp arch.qzm before
    expect 1 "$@"
    cmp -s before arch.qzm || fail "qzmarch $* changed arch.qzm"
    [ -s err ] || fail "qzmarch $* said nothing on stderr"
}

says() { grep -q -- "$2" "$1" || fail "$1 lacks '$2': $(cat "$1")"; }

case_usage() {
    expect 0 --help && says out "Usage: qzmarch"
    expect 2
    expect 2 frobnicate x && says err "unknown command"
    expect 2 list arch.qzm --bogus
    expect 2 mv arch.qzm only-one
    expect 2 extract arch.qzm -C
}

case_create() {
    printf 'x' >"$LONG"
    expect 0 create empty.qzm
    [ "$(od -An -tx1 empty.qzm | tr -d ' \n')" = 515a4d410c00000000000000 ] || fail "empty archive"
    expect 0 create --pak long.pak "$LONG"
    [ "$(head -c 4 long.pak)" = PACK ] || fail "--pak did not make a PAK"
    refused create arch.qzm c.txt && says err "arch.qzm: already exists"
    mkdir other && printf 'x' >other/a.txt
    for bad in missing.txt empty.txt other/a.txt "$LONG"; do
        expect 1 create new.qzm a.txt "$bad" && says err "$bad"
        [ ! -e new.qzm ] || fail "a refused create left new.qzm behind"
    done
}

case_list() {
    expect 0 list arch.qzm
    [ "$(wc -l <out)" -eq 2 ] && grep -q ' 11 .* b.txt$' out || fail "list: $(cat out)"
    expect 1 list a.txt && says err "a.txt: not an archive"
}

case_add() {
    expect 0 add arch.qzm c.txt
    expect 0 list arch.qzm && says out "c.txt"
    for bad in a.txt missing.txt empty.txt arch.qzm; do refused add arch.qzm "$bad"; done
}

case_rm() {
    "$QZMARCH" add arch.qzm c.txt && mkdir elsewhere
    (cd elsewhere && "$QZMARCH" rm ../arch.qzm b.txt) || fail "rm from another directory"
    [ ! -e elsewhere/QZMARCH.TMP ] && [ ! -e QZMARCH.TMP ] || fail "temporary file left"
    expect 0 list arch.qzm && [ "$(wc -l <out)" -eq 2 ] || fail "rm left: $(cat out)"
    refused rm arch.qzm b.txt && says err "no member named b.txt"
    refused rm arch.qzm a.txt c.txt && says err "every member"
    printf 'mine' >QZMARCH.TMP
    refused rm arch.qzm a.txt
    [ "$(cat QZMARCH.TMP)" = mine ] || fail "a stranger's QZMARCH.TMP was overwritten"
}

case_mv() {
    expect 0 mv arch.qzm a.txt renamed.txt
    expect 0 list arch.qzm && says out "renamed.txt"
    refused mv arch.qzm renamed.txt b.txt
    refused mv arch.qzm a.txt x.txt
    refused mv arch.qzm b.txt dir/x.txt
    refused mv arch.qzm b.txt "$LONG" && says err "too long"
}

case_update() {
    printf 'a much longer alpha' >new.txt
    expect 0 update arch.qzm a.txt new.txt
    mkdir copy && expect 0 extract arch.qzm -C copy
    cmp -s copy/a.txt new.txt && cmp -s copy/b.txt b.txt || fail "update"
    refused update arch.qzm a.txt empty.txt
    refused update arch.qzm zzz.txt new.txt
}

case_extract() {
    mkdir out1 out2
    expect 0 extract arch.qzm -C out1
    cmp -s out1/a.txt a.txt && cmp -s out1/b.txt b.txt || fail "extract all"
    expect 1 extract arch.qzm -C missing-dir && says err "missing-dir"
    expect 1 extract arch.qzm b.txt zzz.txt -C out2
    [ ! -e out2/b.txt ] || fail "a refused extract wrote a file"
    (cd out2 && "$QZMARCH" extract ../arch.qzm b.txt) || fail "extract into ."
    [ -e out2/b.txt ] && [ ! -e out2/a.txt ] || fail "extract one member"
}

case_info() {
    expect 0 info arch.qzm && says out "QZM Archive v1.00" && says out "members: 2"
    says out "bytes:   16"
}

# A hand-made archive whose member would escape the target directory.
case_unsafe() {
    {
        printf 'QZMA\020\000\000\000\001\000\000\000data../evil'
        head -c 25 /dev/zero
        printf '\004\000\000\000\014\000\000\000\000\000\000\000'
    } >evil.qzm
    mkdir target
    expect 1 extract evil.qzm -C target && says err "unsafe"
    [ ! -e evil ] || fail "wrote outside the target directory"
}

printf 'alpha' >a.txt
printf 'bravo bravo' >b.txt
printf 'charlie' >c.txt
: >empty.txt
expect 0 create arch.qzm a.txt b.txt
"case_$2"
[ "$FAILURES" -eq 0 ] || exit 1
echo "qzmarch $2: ok"
