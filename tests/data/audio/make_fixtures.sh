#!/bin/sh
# Writes the sound fixtures of tests/audio with independent tools (sox 14.4, oggenc, oggdec,
# SDL 1.2) and expected.txt: per fixture the format code, rate, channels, byte count and 64-bit
# FNV-1a of the samples as the library should hold them after loading, decoded by those tools.
# Usage: tests/data/audio/make_fixtures.sh (writes next to itself). Needs sox, vorbis-tools,
# python3, a C compiler and SDL 1.2's development files.
set -eu
out=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# Stereo 16-bit at 8000 Hz: two tones and some repeatable noise. 2000 frames are 4 Microsoft
# ADPCM blocks of 500 frames, 2020 frames 4 IMA blocks of 505: no padded last block, whose
# padding sox would not decode.
make_source() { sox -R -n -r 8000 -c 2 -b 16 "$tmp/$1.wav" synth "$2" sine 440 sine 660 \
    synth "$2" whitenoise mix vol 0.9; }
make_source src 0.25
make_source src_ima 0.2525

# -D: no dither noise; --comment "": no dated comment chunk.
convert() { in=$1 name=$2; shift 2; sox -D -R "$tmp/$in.wav" --comment "" "$@" "$out/$name"; }

# Removes the 16-bit extension size that follows the 16 basic bytes of the fmt chunk, so that the
# codec fields start where the library reads them; fixes the fmt and RIFF sizes.
strip_cbsize() {
    python3 - "$1" <<'PY'
import struct, sys
path = sys.argv[1]
src = open(path, "rb").read()
out, pos = bytearray(src[:12]), 12
while pos + 8 <= len(src):
    cid, size = src[pos:pos + 4], struct.unpack_from("<I", src, pos + 4)[0]
    body, pad = src[pos + 8:pos + 8 + size], size & 1
    if cid == b"fmt ":
        body = body[:16] + body[18:]
    out += cid + struct.pack("<I", len(body)) + body + b"\0" * pad
    pos += 8 + size + pad
struct.pack_into("<I", out, 4, len(out) - 8)
open(path, "wb").write(out)
PY
}

convert src pcm8_mono.wav -c 1 -e unsigned-integer -b 8
convert src pcm16_stereo.wav -e signed-integer -b 16
for ch in mono stereo; do
    n=1; [ $ch = stereo ] && n=2
    convert src "msadpcm_$ch.std.wav" -c $n -e ms-adpcm
    convert src_ima "imaadpcm_$ch.std.wav" -c $n -e ima-adpcm
done
convert src aiff16_stereo.aiff -b 16
convert src aiff8_mono.aiff -c 1 -b 8
convert src au16_stereo.au -e signed-integer -b 16
convert src au8_mono.au -c 1 -e signed-integer -b 8
# The same AU with the data size 0xFFFFFFFF: the data runs to the end of the file.
cp "$out/au16_stereo.au" "$out/au16_to_end.au"
printf '\377\377\377\377' | dd of="$out/au16_to_end.au" bs=1 seek=8 conv=notrunc status=none
oggenc -Q -q 0 --serial 4242 -o "$out/vorbis_stereo.ogg" "$tmp/src.wav"

# SDL 1.2's WAV loader: the reference for Microsoft ADPCM, whose predictor it divides by 256
# as the library does (sox shifts right by 8, which rounds negative values the other way).
cat >"$tmp/sdlwav.c" <<'C'
#include <SDL.h>
#include <stdio.h>
int main(int argc, char** argv) {
    SDL_AudioSpec spec;
    Uint8* buf;
    Uint32 len;
    if (argc < 2 || !SDL_LoadWAV(argv[1], &spec, &buf, &len)) return 1;
    fwrite(buf, 1, len, stdout);
    SDL_FreeWAV(buf);
    return 0;
}
C
cc -o "$tmp/sdlwav" "$tmp/sdlwav.c" $(pkg-config --cflags --libs sdl)

fnv() {
    python3 -c '
import sys
h = 0xcbf29ce484222325
data = open(sys.argv[1], "rb").read()
for b in data:
    h = ((h ^ b) * 0x100000001b3) & 0xFFFFFFFFFFFFFFFF
print(len(data), "%016x" % h)' "$1"
}

# row FILE FORMAT RATE CHANNELS DECODED: one line of expected.txt.
row() { echo "$1 $2 $3 $4 $(fnv "$5")" >>"$out/expected.txt"; }
sox_raw() { f=$1; shift; sox "$out/$f" -t raw "$@" "$tmp/$f.raw"; echo "$tmp/$f.raw"; }

: >"$out/expected.txt"
row pcm8_mono.wav 0x0008 8000 1 "$(sox_raw pcm8_mono.wav -e unsigned-integer -b 8)"
row pcm16_stereo.wav 0x8010 8000 2 "$(sox_raw pcm16_stereo.wav -e signed-integer -b 16 -L)"
for ch in mono stereo; do
    n=1; [ $ch = stereo ] && n=2
    ms=msadpcm_$ch
    "$tmp/sdlwav" "$out/$ms.std.wav" >"$tmp/$ms.sdl"
    soxms=$(sox_raw "$ms.std.wav" -e signed-integer -b 16 -L)
    if ! cmp -s "$tmp/$ms.sdl" "$soxms"; then
        echo "# $ms.wav: sox differs from SDL ($(fnv "$soxms")), SDL's decoding is expected" \
            >>"$out/expected.txt"
    fi
    row "$ms.wav" 0x8010 8000 $n "$tmp/$ms.sdl"
    ima=imaadpcm_$ch
    "$tmp/sdlwav" "$out/$ima.std.wav" >"$tmp/$ima.sdl"
    soxima=$(sox_raw "$ima.std.wav" -e signed-integer -b 16 -L)
    cmp -s "$tmp/$ima.sdl" "$soxima" || echo "$ima.wav: sox and SDL differ" >&2
    row "$ima.wav" 0x8010 8000 $n "$soxima"
    for f in $ms $ima; do
        mv "$out/$f.std.wav" "$out/$f.wav"
        strip_cbsize "$out/$f.wav"
    done
done
# 8-bit AIFF and AU samples are signed; the library keeps the bytes as they are.
row aiff16_stereo.aiff 0x8010 8000 2 "$(sox_raw aiff16_stereo.aiff -e signed-integer -b 16 -L)"
row aiff8_mono.aiff 0x0008 8000 1 "$(sox_raw aiff8_mono.aiff -e signed-integer -b 8)"
row au16_stereo.au 0x8010 8000 2 "$(sox_raw au16_stereo.au -e signed-integer -b 16 -L)"
row au16_to_end.au 0x8010 8000 2 "$tmp/au16_stereo.au.raw"
row au8_mono.au 0x8008 8000 1 "$(sox_raw au8_mono.au -e signed-integer -b 8)"
# Ogg Vorbis through libvorbisfile's ov_read (oggdec), in three mixer formats.
oggdec -Q -R -b 16 -e 0 -s 1 -o "$tmp/ogg.s16l" "$out/vorbis_stereo.ogg"
oggdec -Q -R -b 16 -e 1 -s 1 -o "$tmp/ogg.s16b" "$out/vorbis_stereo.ogg"
oggdec -Q -R -b 8 -s 0 -o "$tmp/ogg.u8" "$out/vorbis_stereo.ogg"
row vorbis_stereo.ogg 0x8010 8000 2 "$tmp/ogg.s16l"
row vorbis_stereo.ogg 0x9010 8000 2 "$tmp/ogg.s16b"
row vorbis_stereo.ogg 0x0008 8000 2 "$tmp/ogg.u8"

# Music fixtures. 20000 frames of mono unsigned 8-bit at 22050 Hz: 20000 data bytes, chunks of
# 8192, 8192 and 3616.
sox -D -R -r 22050 -c 1 -n -b 8 -e unsigned-integer "$out/music_u8_mono.wav" synth 20000s sine 300
# Two logical bitstreams, concatenated: the same format twice, another rate, six channels.
music_ogg() { sox -D -R -r "$2" -c "$3" -n -b 16 "$tmp/$1.wav" synth 0.3 sine "$4"; \
    oggenc -Q -q 0 --serial "$5" -o "$tmp/$1.ogg" "$tmp/$1.wav"; }
music_ogg first 8000 2 440 1
music_ogg again 8000 2 550 2
music_ogg faster 16000 2 660 3
music_ogg six 8000 6 770 4
cat "$tmp/first.ogg" "$tmp/again.ogg" >"$out/vorbis_chained.ogg"
cat "$tmp/first.ogg" "$tmp/faster.ogg" >"$out/vorbis_rate_change.ogg"
cat "$tmp/first.ogg" "$tmp/six.ogg" >"$out/vorbis_six_channels.ogg"
# music_expected.txt: FILE BYTES FNV of the chain decoded link by link (oggdec, signed 16-bit
# little-endian). Decoding the chained file in one go, oggdec starts at its last link.
for f in first again; do oggdec -Q -R -b 16 -e 0 -s 1 -o "$tmp/$f.raw" "$tmp/$f.ogg"; done
cat "$tmp/first.raw" "$tmp/again.raw" >"$tmp/chained.raw"
echo "vorbis_chained.ogg $(fnv "$tmp/chained.raw")" >"$out/music_expected.txt"
