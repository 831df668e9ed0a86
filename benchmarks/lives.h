// SPDX-License-Identifier: Zlib
#pragma once

#include <array>
#include <vector>

// A program's life in steps, with the library and with bare SDL2 and OpenGL.

struct life_step {
    const char* name;
    double goal;
};

inline constexpr std::array<life_step, 12> step_names = {{
    {"load", 1.05},
    {"start", 1.05},
    {"open", 1.05},
    {"first_frame", 1.05},
    {"first_shader", 1.05},
    {"first_texture", 1.05},
    {"next_frame", 1.05},
    {"close_and_open", 1.05},
    {"first_sound", 1.05},
    {"close", 1.05},
    {"software_frame", 1.05},
    {"stop", 1.05},
}};

// Each gives what its steps took, in seconds, or fewer numbers where one of them failed. Both load
// their library by name and call it through pointers.
std::vector<double> our_life();
std::vector<double> bare_life();
