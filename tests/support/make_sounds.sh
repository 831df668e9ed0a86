#!/usr/bin/env bash
# SPDX-License-Identifier: Zlib
# Makes the sample sounds of the audio tests with sox, flac and oggenc. Beside each one stands what
# such a tool reads from it: samples of 32 bits (.s32), or of 16 bits (.s16) where the sound isn't
# the same to the last bit in every decoder. Takes the folder to write to.
set -euo pipefail
mkdir -p "$1"
cd "$1"
rm -f -- *

# Channels that differ, a length that no block size divides, each bit in use, and room for what Vorbis
# overshoots.
sox -R -r 44100 -n -b 32 left.wav synth 12345s sine 300-3000 tremolo 20 40 gain -n -3
sox -R -r 44100 -n -b 32 right.wav synth 12345s brownnoise gain -n -3
sox -M left.wav right.wav stereo.wav
sox -M left.wav right.wav left.wav right.wav left.wav right.wav six.wav remix 1 2 3v0.7 4v0.5 5v-0.6 6v0.3

sox -V1 -D stereo.wav -b 8 -e unsigned u8.wav
sox -D left.wav -b 16 -r 8000 s16-mono.wav rate -l
sox -D stereo.wav -b 16 s16.wav
sox -D stereo.wav -b 24 s24.wav
sox -D stereo.wav -b 32 s32.wav
sox -D six.wav -b 16 s16-six.wav
sox -D stereo.wav -e a-law a-law.wav
sox -D stereo.wav -e u-law u-law.wav
sox -D stereo.wav -b 16 -B s16-big.wav
sox -D stereo.wav -b 16 -t aiff aiff.wav
sox stereo.wav -b 32 -e float f32.wav
sox stereo.wav -b 64 -e float f64.wav
sox -D stereo.wav -b 16 -t w64 w64.wav
# All the numbers of channels that FLAC and Vorbis have an order for.
mix=(1 2 3 4 5 6 1v-0.5 2v-0.5)
for channels in 3 4 5 7 8; do
    sox -D six.wav -b 16 channels-$channels.wav trim 0 3001s remix "${mix[@]:0:channels}"
done
# Long enough for several pages and seek points.
sox -R -r 22050 -n -b 16 long.wav synth 4 sine 100-4000 synth 4 pinknoise mix gain -n -3
sox -D s16.wav -e ima-adpcm ima.wav
sox -D s16.wav -e ms-adpcm ms.wav

sox -V1 -D s16-mono.wav -b 8 s8-mono.flac
sox -D s16-mono.wav s16-mono.flac
sox -D s16.wav s16.flac
sox -D s24.wav s24.flac
sox -D long.wav long.flac
sox -D s16-six.wav s16-six.flac
for channels in 3 4 5 7 8; do
    sox -D channels-$channels.wav channels-$channels.flac
    oggenc --quiet -q 3 channels-$channels.wav -o channels-$channels.ogg
done
flac --silent --ogg s16.wav -o in-ogg.flac
# Neither the way in nor the way out tells how long it is.
sox -D s16.wav -t raw - | flac --silent --force-raw-format --endian=little --sign=signed --channels=2 \
    --bps=16 --sample-rate=44100 - --stdout 2>/dev/null | cat > no-length.flac

oggenc --quiet -q 3 s16-mono.wav -o mono.ogg
oggenc --quiet -q 6 s16.wav -o stereo.ogg
oggenc --quiet -q 3 long.wav -o long.ogg
oggenc --quiet -q 4 s16-six.wav -o six.ogg

rm left.wav right.wav stereo.wav six.wav
for sound in *.wav *.flac; do
    case $sound in
    f*.wav | i*.wav | ms.wav | u8.wav | *-law.wav) bits=16 ;;
    *) bits=32 ;;
    esac
    kind=${sound##*.}
    [[ $sound != aiff.wav ]] || kind=aiff
    [[ $sound != w64.wav ]] || kind=w64
    [[ $sound != in-ogg.flac ]] || continue
    sox -D -t "$kind" "$sound" -t raw -e signed -b $bits "$sound.s$bits"
done
cp s16.wav.s32 in-ogg.flac.s32
for sound in *.ogg; do
    oggdec --quiet --raw --bits 16 "$sound" --output "$sound.s16"
done
