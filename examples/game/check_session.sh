#!/bin/sh
# Plays the recorded session and checks what it must leave: the final score and the
# screenshots' checksums listed in EXPECTED, a contact sheet, and a mix in demo.wav that is not
# silent. Runs in the game's working directory, from a fresh start (no settings, no scores).
# Usage: check_session.sh EXPECTED
set -eu
rm -f game.cfg game.scores demo.wav game_sheet.png
if ! ./qzm_game > session.log 2>&1; then
    cat session.log
    echo "game_session: the session failed"
    exit 1
fi
cat session.log
{ grep '^final score:' session.log; cksum game_shot*.bmp; } > session.found
diff "$1" session.found || { echo "game_session: score or screenshots differ from $1"; exit 1; }
head -c 8 game_sheet.png | od -An -c | grep -q 'P   N   G' ||
    { echo "game_session: no PNG contact sheet"; exit 1; }
head -c 4 demo.wav | grep -q RIFF || { echo "game_session: demo.wav is not a WAV file"; exit 1; }
rms=$(sed -n 's/^audio: peak [0-9]* rms \([0-9]*\) .*/\1/p' session.log)
[ "${rms:-0}" -gt 500 ] || { echo "game_session: the mix is silent (RMS ${rms:-absent})"; exit 1; }
echo "game_session: score, screenshots and mix as expected"
