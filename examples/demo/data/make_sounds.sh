#!/bin/sh
# Writes the demo's sounds with sox and oggenc: music.ogg, a short tune of plucked notes
# (22050 Hz mono Ogg Vorbis, streamed by the demo and doubled into stereo chunk by chunk), and
# blip.wav, a sound effect (11025 Hz mono unsigned 8-bit WAV, converted to the mixer's format
# when loaded).
# Usage: examples/demo/data/make_sounds.sh (writes next to itself). Needs sox and vorbis-tools.
set -eu
out=$(cd "$(dirname "$0")" && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

n=0
for note in C4 E4 G4 C5 G4 E4 C4 G3; do
    n=$((n + 1))
    sox -D -R -r 44100 -c 1 -n -b 16 "$tmp/note$n.wav" synth 0.2 pluck "$note" vol 0.6 rate 22050
done
sox -D -R "$tmp"/note?.wav "$tmp/tune.wav"
oggenc -Q -q 0 --serial 777 -o "$out/music.ogg" "$tmp/tune.wav"
sox -D -R -r 11025 -c 1 -n -b 8 -e unsigned-integer "$out/blip.wav" \
    synth 0.12 square 880 fade 0 0.12 0.08 vol 0.4
