#!/bin/sh
# Rebuilds the seed corpora in fuzz/corpus/ from the test fixtures (images and sounds), a run of
# the demo (which writes fonts, images, archives, language, score and configuration files) and
# a few small files written here. Usage: fuzz/make_corpus.sh BUILD_DIR (a build with the demo
# and tools).
set -eu
src=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
corpus="$src/fuzz/corpus"
gfx="$src/tests/data/gfx"
audio="$src/tests/data/audio"
run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT

(cd "$run" && "$build/examples/qzm_demo" >/dev/null)

seed() { dir="$corpus/$1"; shift; mkdir -p "$dir"; cp "$@" "$dir/"; }

seed image_bmp "$gfx"/bmp*.bmp "$run/demo_assets/ship.bmp"
seed image_pcx "$gfx"/pcx*.pcx
seed image_gif "$gfx"/gif*.gif
seed image_tga "$gfx"/tga*.tga
seed image_font "$run/demo_assets/font.qzmf"
seed image_detect "$gfx/bmp8_rle.bmp" "$gfx/pcx8_runs.pcx" "$gfx/gif_transparent.gif" \
    "$gfx/tga_map_rle.tga" "$run/demo_assets/font.qzmf"
seed font "$run/demo_assets/font.qzmf"
seed font_v1 "$run/demo_assets/font.qzmf"
seed gl_font "$run/demo_assets/font.qzmf"
seed data "$run/demo.cfg" "$run/demo.scores" "$run/lang/en.lng" "$run/lang/fr.lng"
seed sound_wav "$audio"/*.wav
seed sound_aiff "$audio"/*.aiff
seed sound_au "$audio"/*.au
seed sound_ogg "$audio"/*.ogg
seed sound_detect "$audio/pcm8_mono.wav" "$audio/msadpcm_stereo.wav" "$audio/aiff8_mono.aiff" \
    "$audio/au16_to_end.au" "$audio/vorbis_stereo.ogg"
seed music_wav "$audio/pcm8_mono.wav" "$audio/pcm16_stereo.wav" "$audio/music_u8_mono.wav" \
    "$audio/msadpcm_mono.wav"
seed music_aiff "$audio"/*.aiff
seed music_au "$audio"/*.au
seed music_ogg "$audio"/vorbis_*.ogg
seed music_detect "$audio/pcm16_stereo.wav" "$audio/aiff8_mono.aiff" "$audio/au16_to_end.au" \
    "$audio/vorbis_chained.ogg"
python3 "$src/fuzz/make_short_gfx_seeds.py" "$corpus"

mkdir -p "$corpus/palette" "$corpus/archive_qzm" "$corpus/archive_pak"
printf 'QZMP\002\000\000\000\001\002\003\004\377\200\000\011' >"$corpus/palette/native.pal"
printf 'GIMP Palette\n# made for the fuzzer\n1 2 3\tUnknown\n255 128 0\tUnknown\n' >"$corpus/palette/gimp.gpl"
printf 'JASC-PAL\n0100\n2\n1 2 3\n255 128 0\n' >"$corpus/palette/jasc.pal"
cp "$run/demo_data.qzma" "$corpus/archive_qzm/"
"$build/tools/qzmarch" create "$run/small.qzma" "$run/demo_credits.txt" "$run/demo.cfg" >/dev/null
cp "$run/small.qzma" "$corpus/archive_qzm/"
python3 "$src/tests/data/archive/make_pak.py" "$corpus/archive_pak/two.pak" \
    readme.txt="hello" maps/e1m1.bsp="0123456789"
"$build/tools/qzmarch" create --pak "$run/demo.pak" "$run/demo_credits.txt" "$run/lang/en.lng" >/dev/null
cp "$run/demo.pak" "$corpus/archive_pak/"
