// SPDX-License-Identifier: Zlib
// The solid: glazed stone under a warm lamp from the right, with cool light on its left edge. It
// shades itself: a string of beads along its inside stands in for it where light is cut off.

#vertex
#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec2 place;

uniform mat4 clip_from_world;
uniform mat4 world_from_solid;
uniform vec4 beads[32]; // centre in the world, radius
uniform float mirror;   // -1 for the image in the floor, otherwise 1

centroid out vec3 world;
centroid out vec3 facing;
out vec2 uv;
out float daylight;
out float lamplight;

const vec3 LAMP = normalize(vec3(0.62, 0.80, 0.50));

void main() {
    vec3 point = (world_from_solid * vec4(position, 1.0)).xyz;
    vec3 up = mat3(world_from_solid) * normal;
    float dark = 0.0;
    float shade = 1.0;
    for (int i = 0; i < 32; ++i) {
        vec3 away = beads[i].xyz - point;
        float radius = beads[i].w;
        float distance2 = dot(away, away);
        dark += max(dot(up, away), 0.0) * inversesqrt(distance2) * radius * radius / distance2;
        float along = dot(away, LAMP);
        float aside = sqrt(max(distance2 - along * along, 0.0));
        float soft = smoothstep(0.55 * radius, 1.5 * radius, aside);
        shade *= along > 1.6 * radius ? soft : 1.0;
    }
    world = point;
    facing = up;
    uv = place;
    daylight = exp(-0.75 * dark) * mix(0.75, 1.0, 0.5 + 0.5 * up.y);
    lamplight = shade;
    gl_Position = clip_from_world * vec4(point.x, mirror * point.y, point.z, 1.0);
}

#fragment
#version 330 core
centroid in vec3 world;
centroid in vec3 facing;
in vec2 uv;
in float daylight;
in float lamplight;

uniform sampler2D picture;
uniform vec4 camera;
uniform float mirror;

out vec4 color;

const vec3 LAMP = normalize(vec3(0.62, 0.80, 0.50));

// What the glaze mirrors: a dim room with a large window at the right, a narrow one at the left and
// a strip behind.
vec3 room(vec3 d) {
    vec3 light = mix(vec3(0.030, 0.020, 0.045), vec3(0.055, 0.075, 0.120), smoothstep(-0.3, 0.8, d.y));
    light += vec3(0.16, 0.07, 0.06) * exp(-9.0 * d.y * d.y);
    vec2 right = vec2(dot(d, normalize(vec3(-0.45, 0.0, 0.9))), d.y - 0.48);
    float window = smoothstep(0.36, 0.26, abs(right.x)) * smoothstep(0.30, 0.20, abs(right.y)) * step(0.0, d.x);
    light += vec3(3.6, 2.9, 2.2) * window;
    vec2 left = vec2(dot(d, normalize(vec3(0.35, 0.0, 0.9))), d.y - 0.25);
    float slit = smoothstep(0.13, 0.07, abs(left.x)) * smoothstep(0.62, 0.45, abs(left.y)) * step(d.x, 0.0);
    light += vec3(0.8, 1.3, 2.0) * slit;
    return light;
}

void main() {
    vec3 n = normalize(facing);
    vec3 v = normalize(vec3(camera.x, mirror * camera.y, camera.z) - world);
    vec3 h = normalize(LAMP + v);
    float nv = max(dot(n, v), 0.0);
    float nl = max(dot(n, LAMP), 0.0);

    vec3 stone = pow(texture(picture, uv).rgb, vec3(2.2));
    vec3 ambient = mix(vec3(0.10, 0.06, 0.09), vec3(0.20, 0.25, 0.36), 0.5 + 0.5 * n.y);
    vec3 light = stone * (ambient * daylight + vec3(2.5, 2.15, 1.75) * nl * lamplight);

    float glaze = 0.04 + 0.96 * pow(1.0 - nv, 5.0);
    light += room(reflect(-v, n)) * (glaze + 0.07) * (0.3 + 0.7 * daylight);
    light += vec3(2.5, 2.2, 1.8) * 0.9 * pow(max(dot(n, h), 0.0), 180.0) * lamplight;

    float rim = pow(1.0 - nv, 3.0) * daylight;
    light += rim * vec3(0.20, 0.42, 0.80) * max(dot(n, normalize(vec3(-0.9, 0.25, -0.25))), 0.0);
    light += rim * vec3(1.10, 0.55, 0.30) * max(dot(n, normalize(vec3(0.8, 0.35, -0.5))), 0.0);

    // The image in the floor fades with its distance from the floor.
    light *= mirror < 0.0 ? exp(-0.6 * world.y) : 1.0;
    light = light * (2.51 * light + 0.03) / (light * (2.43 * light + 0.59) + 0.14);
    color = vec4(pow(clamp(light, 0.0, 1.0), vec3(1.0 / 2.2)), 1.0);
}
