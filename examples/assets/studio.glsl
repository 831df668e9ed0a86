// SPDX-License-Identifier: Zlib
// What lies behind and under the solid: a wall with a glow and a polished floor, both worked out for
// each pixel. The floor lets some of what is drawn already, the mirrored solid, show through.

#vertex
#version 330 core
out vec2 screen;

void main() {
    // One triangle that covers the screen.
    screen = vec2(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0);
    gl_Position = vec4(screen, 0.0, 1.0);
}

#fragment
#version 330 core
in vec2 screen;

uniform vec4 lens;      // half the view's width and height at distance 1, then its shift
uniform vec4 camera;
uniform vec4 beads[32]; // centre in the world, radius

out vec4 color;

const vec3 LAMP = normalize(vec3(0.62, 0.80, 0.50));

vec3 wall(vec2 at) {
    vec3 light = mix(vec3(0.040, 0.020, 0.045), vec3(0.006, 0.010, 0.030), smoothstep(0.0, 0.45, at.y));
    light += vec3(0.200, 0.070, 0.055) * exp(0.5 - 11.0 * sqrt(at.y * at.y + 0.002)) * exp(-2.2 * at.x * at.x);
    light += vec3(0.065, 0.036, 0.085) * exp(-7.0 * dot(at - vec2(0.0, 0.10), at - vec2(0.0, 0.10)));
    return light;
}

void main() {
    vec3 ray = vec3((screen - lens.zw) * lens.xy, -1.0);
    vec3 light = wall(ray.xy);
    float mirror = 0.0;
    if (ray.y < 0.0) {
        vec3 point = camera.xyz - ray * (camera.y / ray.y);
        float dark = 0.0;
        float shade = 1.0;
        for (int i = 0; i < 32; ++i) {
            vec3 away = beads[i].xyz - point;
            float radius = beads[i].w;
            float distance2 = dot(away, away);
            dark += max(away.y, 0.0) * inversesqrt(distance2) * radius * radius / distance2;
            float along = dot(away, LAMP);
            float aside = sqrt(max(distance2 - along * along, 0.0));
            shade *= along > 0.0 ? smoothstep(0.35 * radius, 0.9 * radius + 0.22 * along, aside) : 1.0;
        }
        float reach = dot(point.xz, point.xz);
        vec3 floor_light = vec3(0.085, 0.060, 0.095) * exp(-0.35 * dark);
        floor_light += vec3(0.62, 0.42, 0.36) * shade / (1.0 + 0.22 * reach) * exp(-0.03 * reach);
        floor_light *= vec3(0.36, 0.30, 0.40);
        float far = 1.0 - exp(-0.012 * max(reach - 4.0, 0.0));
        light = mix(floor_light, light, far);
        float grazing = 1.0 + ray.y / length(ray);
        mirror = (0.26 + 0.40 * pow(grazing, 4.0)) * (1.0 - far);
    }
    light *= 1.0 - 0.42 * smoothstep(0.25, 2.1, dot(screen, screen));
    light = light * (2.51 * light + 0.03) / (light * (2.43 * light + 0.59) + 0.14);

    // A regular grain of half a step keeps the long gradients from showing steps of their own.
    ivec2 cell = ivec2(gl_FragCoord.xy) & 3;
    int grain = ((cell.x ^ cell.y) & 1) * 8 + (cell.y & 1) * 4 + (((cell.x ^ cell.y) >> 1) & 1) * 2 + (cell.y >> 1);
    color = vec4(pow(clamp(light, 0.0, 1.0), vec3(1.0 / 2.2)) + (float(grain) - 7.5) / (16.0 * 255.0), 1.0 - mirror);
}
