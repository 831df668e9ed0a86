#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""Writes the demo's marble to standard output as a PPM picture. It repeats without a seam, so that it
can go round a solid. Standard library only; takes about a minute."""

import math
import random
import sys

SIZE = 1536  # make_assets.sh halves it, which smooths the edges
PERIOD = 3  # cells of the coarsest noise across the picture

random.seed(161803)
SLOPES = [[(math.cos(a), math.sin(a)) for a in (random.uniform(0.0, math.tau) for _ in range(64))]
          for _ in range(64)]


def noise(x, y, period):
    """Gradient noise, about -1 to 1, that repeats after `period` cells both ways."""
    cell_x, cell_y = math.floor(x), math.floor(y)
    u, v = x - cell_x, y - cell_y
    x0, x1 = cell_x % period, (cell_x + 1) % period
    near, far = SLOPES[cell_y % period], SLOPES[(cell_y + 1) % period]
    (ax, ay), (bx, by), (cx, cy), (dx, dy) = near[x0], near[x1], far[x0], far[x1]
    s, t = u * u * u * (u * (6 * u - 15) + 10), v * v * v * (v * (6 * v - 15) + 10)
    top = ax * u + ay * v
    top += (bx * (u - 1) + by * v - top) * s
    bottom = cx * u + cy * (v - 1)
    bottom += (dx * (u - 1) + dy * (v - 1) - bottom) * s
    return 1.5 * (top + (bottom - top) * t)


def layers(x, y, count, fade=0.5):
    total, weight, period = 0.0, 1.0, PERIOD
    for _ in range(count):
        total += weight * noise(x, y, period)
        x, y = 2 * x + 5, 2 * y + 3  # whole cells, so that the layers repeat with the picture
        period, weight = 2 * period, weight * fade
    return total


def mix(a, b, t):
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def step(edge0, edge1, x):
    t = min(max((x - edge0) / (edge1 - edge0), 0.0), 1.0)
    return t * t * (3 - 2 * t)


STONES = [(0.00, (6, 18, 33)), (0.30, (8, 44, 64)), (0.52, (13, 96, 110)), (0.68, (58, 164, 160)),
          (0.80, (196, 222, 204)), (0.90, (244, 226, 190)), (1.00, (236, 160, 118))]
GOLD, GOLD_DARK = (255, 196, 98), (66, 40, 22)


def stone(t):
    t = min(max(t, 0.0), 1.0)
    for (t0, a), (t1, b) in zip(STONES, STONES[1:]):
        if t <= t1:
            return mix(a, b, (t - t0) / (t1 - t0))
    return STONES[-1][1]


def pixel(column, row):
    x, y = PERIOD * column / SIZE, PERIOD * row / SIZE
    fold_x, fold_y = layers(x, y, 2), layers(x + 17, y + 31, 2)
    x, y = x + 0.55 * fold_x, y + 0.55 * fold_y
    deep_x, deep_y = layers(x + 7, y + 11, 2), layers(x + 23, y + 41, 2)
    height = layers(x + 0.45 * deep_x, y + 0.45 * deep_y, 3, 0.42)

    # Bands of stone along the lines of equal height, with fine ones inside them.
    band = 0.5 + 0.5 * math.sin(6.5 * height + 1.2 * deep_x)
    fine = 0.5 + 0.5 * math.sin(42.0 * height + 5.0 * deep_y)
    color = stone(0.04 + 0.90 * band ** 1.7 + 0.13 * (fine - 0.5) * (0.25 + band))

    # Veins of gold where another layer crosses zero: narrow, of uneven width, with a dark rim.
    vein = abs(deep_y + 0.35 * height) / (0.4 + 0.5 * (deep_x + 0.8) ** 2)
    color = mix(color, GOLD_DARK, 0.8 * (1 - step(0.035, 0.085, vein)))
    color = mix(color, mix(GOLD, (255, 240, 190), 0.6 * fine), 1 - step(0.018, 0.038, vein))
    return bytes(min(max(round(c), 0), 255) for c in color)


def main():
    out = sys.stdout.buffer
    out.write(b"P6 %d %d 255\n" % (SIZE, SIZE))
    for row in range(SIZE):
        out.write(b"".join(pixel(column, row) for column in range(SIZE)))


main()
