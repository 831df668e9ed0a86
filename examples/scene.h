/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The demo's arithmetic, for its hosts in C++ and C99; demo.py has the same in Python.
 *
 * The hosts reckon in doubles, with nothing but the operations that IEEE 754 rounds exactly, and
 * round to floats once, at the end: that is why their pictures agree to the last pixel.
 */

#include <math.h>
#include <stdint.h>

enum {
    RINGS = 320,
    SIDES = 40,
    BEADS = 32,
    VERTEX_FLOATS = 8 * (RINGS + 1) * (SIDES + 1),
    INDICES = 6 * RINGS * SIDES
};
static const double RADIUS = 0.26;

/* Angles are in turns. */
static double sine(double turns) {
    double t = turns - floor(turns + 0.5);
    double x, y;
    t = t > 0.25 ? 0.5 - t : t < -0.25 ? -0.5 - t : t;
    x = t * 6.283185307179586;
    y = x * x;
    /* clang-format off */
    return x * (1.0 - y / 6.0 * (1.0 - y / 20.0 * (1.0 - y / 42.0 * (1.0 - y / 72.0 * (
        1.0 - y / 110.0 * (1.0 - y / 156.0 * (1.0 - y / 210.0 * (1.0 - y / 272.0))))))));
    /* clang-format on */
}

static double cosine(double turns) {
    return sine(turns + 0.25);
}

static void floats(float* result, const double* numbers, int count) {
    for (int i = 0; i < count; ++i)
        result[i] = (float)numbers[i];
}

static void cross(double* result, const double* a, const double* b) {
    result[0] = a[1] * b[2] - a[2] * b[1];
    result[1] = a[2] * b[0] - a[0] * b[2];
    result[2] = a[0] * b[1] - a[1] * b[0];
}

static void make_unit(double* a) {
    double size = sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    for (int i = 0; i < 3; ++i)
        a[i] = a[i] / size;
}

/* The line that the solid follows: three times through the hole of a ring, twice round it. */
static void centre(double* result, double t) {
    double out = 0.92 + 0.42 * cosine(3.0 * t);
    result[0] = out * cosine(2.0 * t);
    result[1] = out * sine(2.0 * t);
    result[2] = 0.46 * sine(3.0 * t);
}

/* A tube along the line. 8 floats a vertex: position, normal, place in the texture. */
static void make_solid(float* vertices, uint16_t* indices) {
    for (int ring = 0; ring <= RINGS; ++ring) {
        double t = (double)ring / (double)RINGS, middle[3], before[3], ahead[3], side[3], out[3];
        centre(middle, t);
        centre(before, t - 0.0005);
        centre(ahead, t + 0.0005);
        for (int i = 0; i < 3; ++i)
            ahead[i] = ahead[i] - before[i];
        make_unit(ahead);
        out[0] = cosine(3.0 * t) * cosine(2.0 * t);
        out[1] = cosine(3.0 * t) * sine(2.0 * t);
        out[2] = sine(3.0 * t);
        cross(side, ahead, out);
        make_unit(side);
        cross(out, side, ahead);
        for (int corner = 0; corner <= SIDES; ++corner) {
            double u = (double)corner / (double)SIDES, c = cosine(u), s = sine(u), vertex[8];
            for (int i = 0; i < 3; ++i) {
                vertex[3 + i] = c * out[i] + s * side[i];
                vertex[i] = middle[i] + RADIUS * vertex[3 + i];
            }
            vertex[6] = 6.0 * t;
            vertex[7] = u - 3.0 * t;
            floats(vertices, vertex, 8);
            vertices += 8;
            if (ring < RINGS && corner < SIDES) {
                int first = ring * (SIDES + 1) + corner, above = first + SIDES + 1;
                int square[6] = {first, first + 1, above, above, first + 1, above + 1};
                for (int i = 0; i < 6; ++i)
                    *indices++ = (uint16_t)square[i];
            }
        }
    }
}

/* What the shaders are told of a frame. Matrices stand column by column. */
typedef struct View {
    float clip_from_world[16], world_from_solid[16];
    float camera[4];        /* its place in the world */
    float lens[4];          /* half the view's width and height at distance 1, then its shift */
    float beads[4 * BEADS]; /* a string of balls that stands in for the solid: centre, radius */
} View;

/* `yaw`, `tilt` (turns) and `zoom` are what the user added. */
static void make_view(View* view, int width, int height, int64_t frame, double yaw, double tilt,
                      double zoom) {
    /* The camera looks level; the picture is shifted in place of a tilt: uprights stay upright. */
    const double eye = 1.55, away = 5.4 * zoom, first = 0.5, last = 50.0;
    const double high = 2.35, right = 0.16, up = 0.11, wide = high * height / width;
    const double y_turn = -0.05 + (double)frame / 960.0 + yaw, x_turn = 0.045 + tilt;
    const double cy = cosine(y_turn), sy = sine(y_turn), ct = cosine(x_turn), st = sine(x_turn);
    /* clang-format off */
    const double clip_from_world[16] = {
        wide, 0.0, 0.0, 0.0,
        0.0, high, 0.0, 0.0,
        -right, -up, -(last + first) / (last - first), -1.0,
        right * away, up * away - high * eye,
        (away * (last + first) - 2.0 * last * first) / (last - first), away};
    const double turn[16] = {
        cy, st * sy, -ct * sy, 0.0,
        0.0, ct, st, 0.0,
        sy, -st * cy, ct * cy, 0.0,
        0.0, 1.62, 0.0, 1.0};
    /* clang-format on */
    const double camera[4] = {0.0, eye, away, 1.0}, lens[4] = {1.0 / wide, 1.0 / high, right, up};
    floats(view->clip_from_world, clip_from_world, 16);
    floats(view->world_from_solid, turn, 16);
    floats(view->camera, camera, 4);
    floats(view->lens, lens, 4);
    for (int bead = 0; bead < BEADS; ++bead) {
        double at[3], ball[4];
        centre(at, (double)bead / (double)BEADS);
        for (int row = 0; row < 3; ++row)
            ball[row] =
                turn[row] * at[0] + turn[4 + row] * at[1] + turn[8 + row] * at[2] + turn[12 + row];
        ball[3] = RADIUS;
        floats(view->beads + 4 * bead, ball, 4);
    }
}

/* Lays a sound of one channel over all channels of a block, from the block's frame `start` on. Of
 * the sound, any part may stand ahead of the block or behind it. */
static void lay_over(int16_t* block, int64_t frames, int channels, const int16_t* sound,
                     int64_t sound_frames, int64_t start) {
    int64_t first = start > 0 ? start : 0;
    int64_t end = start + sound_frames < frames ? start + sound_frames : frames;
    for (int64_t i = first * channels; i < end * channels; ++i) {
        int sum = block[i] + sound[i / channels - start];
        block[i] = (int16_t)(sum < -32768 ? -32768 : sum > 32767 ? 32767 : sum);
    }
}

/* CRC-32, as zlib's crc32 has it. */
static uint32_t checksum(uint32_t so_far, const uint8_t* bytes, int count) {
    so_far = ~so_far;
    for (int i = 0; i < count; ++i) {
        so_far ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            so_far = so_far >> 1 ^ (so_far & 1 ? 0xEDB88320u : 0);
    }
    return ~so_far;
}
