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
    expect 0 --version && says out "^qzmarch (qzm) [0-9]*\.[0-9]*\.[0-9]*$"
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
    # Each file that cannot be packed is named with its reason; the others are packed.
    expect 1 create new.qzm a.txt missing.txt empty.txt other/a.txt "$LONG"
    for bad in missing.txt empty.txt other/a.txt "$LONG"; do says err "$bad: "; done
    expect 0 list new.qzm && [ "$(wc -l <out)" -eq 1 ] && says out " a.txt$"
    expect 1 create none.qzm missing.txt
    [ ! -e none.qzm ] || fail "a create with nothing to pack left none.qzm behind"
}

# A folder packs recursively: a PAK keeps the paths inside it, a QZM archive the file names.
case_folders() {
    mkdir -p data/progs data/maps data/dup && : >data/empty.bin
    printf 'player' >data/progs/player.mdl && printf 'map' >data/maps/e1m1.bsp
    printf 'other' >data/dup/player.mdl && printf 'top' >data/top.txt
    expect 1 create --pak game.pak data/ && says err "data/empty.bin: empty file"
    expect 0 list game.pak
    [ "$(awk '{print $NF}' out | tr '\n' ' ')" = "dup/player.mdl maps/e1m1.bsp progs/player.mdl top.txt " ] ||
        fail "PAK members: $(cat out)"
    mkdir target && expect 0 extract game.pak -C target
    for f in dup/player.mdl maps/e1m1.bsp progs/player.mdl top.txt; do
        cmp -s "data/$f" "target/$f" || fail "extracted $f"
    done
    expect 1 create flat.qzm data
    says err "data/progs/player.mdl: a member named player.mdl comes from data/dup/player.mdl"
    expect 0 list flat.qzm && [ "$(wc -l <out)" -eq 3 ] || fail "QZM members: $(cat out)"
}

# Files of 2 GiB and more do not fit the formats' 32-bit offsets.
case_big() {
    truncate -s 2G huge.bin 2>/dev/null || { echo "qzmarch big: skipped (no sparse files)"; return; }
    expect 1 create huge.qzm huge.bin && says err "huge.qzm: the archive would grow beyond 2 GiB"
    refused add arch.qzm huge.bin
}

# An edit killed while it copies leaves the archive whole; the temporary file it leaves behind
# is explained, and an edit that runs out of file size puts the archive back.
case_faults() {
    head -c 40000000 /dev/zero >big1 && head -c 40000000 /dev/zero >big2
    "$QZMARCH" create big.qzm big1 big2 b.txt || fail "create big.qzm"
    cp big.qzm big.orig
    for edit in "rm big.qzm big1" "update big.qzm big1 a.txt"; do
        rm -f QZMARCH.TMP
        "$QZMARCH" $edit & pid=$!
        n=0
        while [ ! -s QZMARCH.TMP ] && [ "$n" -lt 200000 ]; do n=$((n + 1)); done
        kill -9 "$pid"; wait "$pid"
        cmp -s big.qzm big.orig || fail "qzmarch $edit, killed, changed the archive"
    done
    [ -e QZMARCH.TMP ] || fail "no edit was caught copying"
    expect 1 rm big.qzm big1 && says err "QZMARCH.TMP: left by an edit that was interrupted"
    rm -f QZMARCH.TMP big.qzm big.orig big1 big2
    head -c 300000 /dev/zero >mid.bin && head -c 300000 /dev/zero >mid2.bin
    "$QZMARCH" create lim.qzm a.txt b.txt mid.bin || fail "create lim.qzm"
    # Limits in 512-byte blocks: the added data overwrites the directory before it fails.
    for edit in "700 add lim.qzm mid2.bin" "700 update lim.qzm a.txt mid2.bin" "1 rm lim.qzm a.txt"; do
        (ulimit -f ${edit%% *} && "$QZMARCH" ${edit#* }) 2>err && fail "qzmarch $edit passed the limit"
        rm -rf got && mkdir got && expect 0 extract lim.qzm -C got
        cmp -s got/a.txt a.txt && cmp -s got/b.txt b.txt && cmp -s got/mid.bin mid.bin &&
            [ ! -e got/mid2.bin ] || fail "qzmarch $edit, out of space"
        [ ! -e QZMARCH.TMP ] || fail "qzmarch $edit left QZMARCH.TMP"
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

# pak_record NAME START SIZE: one 64-byte PAK directory record.
pak_record() {
    printf '%s' "$1" && head -c $((56 - ${#1})) /dev/zero
    printf "\\$(printf %03o "$2")\\000\\000\\000\\$(printf %03o "$3")\\000\\000\\000"
}

# Hand-made archives whose members would escape the target directory: each is reported and
# skipped, the safe ones are extracted.
case_unsafe() {
    {
        printf 'QZMA\020\000\000\000\001\000\000\000data../evil'
        head -c 25 /dev/zero
        printf '\004\000\000\000\014\000\000\000\000\000\000\000'
    } >evil.qzm
    {
        printf 'PACK\020\000\000\000\000\001\000\000data'
        for name in ../evil /tmp/evil a/../../evil ok/fine.txt; do pak_record "$name" 12 4; done
    } >evil.pak
    mkdir target
    expect 1 extract evil.qzm -C target && says err "unsafe"
    expect 1 extract evil.pak -C target
    for name in ../evil /tmp/evil a/../../evil; do says err "\"$name\": unsafe member name"; done
    [ "$(cat target/ok/fine.txt)" = data ] || fail "the safe member was not extracted"
    [ ! -e evil ] && [ ! -e /tmp/evil ] || fail "wrote outside the target directory"
}

printf 'alpha' >a.txt
printf 'bravo bravo' >b.txt
printf 'charlie' >c.txt
: >empty.txt
expect 0 create arch.qzm a.txt b.txt
"case_$2"
[ "$FAILURES" -eq 0 ] || exit 1
echo "qzmarch $2: ok"
