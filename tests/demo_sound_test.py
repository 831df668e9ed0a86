#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""Holds what the demo played against its music and its chime, as oggdec and sox read them.

Usage: demo_sound_test.py PLAYED ASSETS SECONDS [CHIME_FRAME]

PLAYED is the WAV file that the demo saves, at least SECONDS long, or what SDL's disk driver was given
(.raw). Without CHIME_FRAME the chime has to be there once, from the start of some block on.
"""

import subprocess
import sys
from array import array

BOUND = 1  # two decoders of Vorbis round differently, by the last bit of 16
BLOCK = 1024
played_file, assets, seconds = sys.argv[1:4]


def samples(*command):
    return array("h", subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)


music = samples("oggdec", "--quiet", "--raw", "--bits", "16", "--output", "-", assets + "/music.ogg")
chime = samples("sox", assets + "/chime.wav", "-t", "raw", "-e", "signed", "-b", "16", "-")
assert max(chime) > 10000, "the chime can't be heard"
if played_file.endswith(".raw"):
    played = samples("cat", played_file)
    while played and not any(played[:2 * BLOCK]):  # silence, until the player was told to play
        del played[:2 * BLOCK]
else:
    played = samples("sox", played_file, "-t", "raw", "-")
assert len(played) >= 2 * 44100 * float(seconds), "only %d frames were played" % (len(played) // 2)

loop = array("h", (music * (len(played) // len(music) + 1))[:len(played)])
if len(sys.argv) > 4:
    frame = int(sys.argv[4])
else:
    differs = (i for i in range(len(played)) if abs(played[i] - loop[i]) > BOUND)
    frame = next(differs, 0) // (2 * BLOCK) * BLOCK
    assert frame > 0, "no chime in %d frames" % (len(played) // 2)
for i in range(2 * frame, min(2 * (frame + len(chime)), len(loop))):
    loop[i] = min(max(loop[i] + chime[i // 2 - frame], -32768), 32767)

farthest = max(range(len(played)), key=lambda i: abs(played[i] - loop[i]))
if abs(played[farthest] - loop[farthest]) > BOUND:
    sys.exit("frame %d is %d, not %d; the chime began at %d" % (
        farthest // 2, played[farthest], loop[farthest], frame))
print("%d frames, no sample farther off than %d; the chime at %d" % (
    len(played) // 2, abs(played[farthest] - loop[farthest]), frame))
