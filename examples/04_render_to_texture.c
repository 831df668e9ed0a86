/* SPDX-License-Identifier: Zlib */
/* A scene drawn into a frame buffer in place of the window: petals, with four samples a pixel for
 * smooth edges. A blit puts the samples together into a texture, which a turning cube shows.
 * Escape or the close button ends it. With a file name the 60th frame is saved there as a picture,
 * and that is the end; so it is without a display, as render_to_texture.png. */

#define _POSIX_C_SOURCE 200112L

#include <halvorin_system/system.h>

#include <stdlib.h>
#include <string.h>

#define WIDTH  640
#define HEIGHT 360
#define SIDE   256 /* of the texture */
#define FRAMES 60

static const char petals[] =
    "#vertex\n#version 330 core\nuniform float turn; out vec3 tint; void main() {\n"
    "    float a = 0.5236 * gl_InstanceID + turn, c = cos(a), s = sin(a);\n"
    "    vec2 p = vec2[3](vec2(0.1, 0), vec2(0.95, -0.2), vec2(0.95, 0.2))[gl_VertexID];\n"
    "    tint = (0.6 + 0.4 * cos(0.5236 * gl_InstanceID + vec3(0, 2.1, 4.2))) * p.x;\n"
    "    gl_Position = vec4(mat2(c, s, -s, c) * p, 0, 1);\n"
    "}\n#fragment\n#version 330 core\n"
    "in vec3 tint; out vec4 color; void main() { color = vec4(tint, 1); }\n";

/* A cube out of nothing but the numbers of its 36 corners. */
static const char cube[] =
    "#vertex\n#version 330 core\nuniform float turn; out vec2 uv; out vec3 p; void main() {\n"
    "    int corner = int[6](0, 1, 2, 2, 1, 3)[gl_VertexID % 6], side = gl_VertexID / 6;\n"
    "    uv = vec2(corner & 1, corner >> 1), p = vec3(2 * uv - 1, 1);\n"
    "    p = (side < 2 ? p : side < 4 ? p.zxy : p.yzx) * (side % 2 == 0 ? 1 : -1);\n"
    "    p.xz = mat2(cos(turn), -sin(turn), sin(turn), cos(turn)) * p.xz;\n"
    "    p.yz = mat2(0.87, 0.5, -0.5, 0.87) * p.yz;\n"
    "    gl_Position = vec4(1.3 * p.x, 2.3 * p.y, 4 - p.z, 5 - p.z);\n"
    "}\n#fragment\n#version 330 core\n"
    "in vec2 uv; in vec3 p; out vec4 color; uniform sampler2D picture; void main() {\n"
    "    float light = dot(normalize(cross(dFdx(p), dFdy(p))), vec3(0.25, 0.63, 0.73));\n"
    "    color = vec4((0.5 + 0.6 * max(light, 0)) * texture(picture, uv).rgb, 1);\n"
    "}\n";

static Slice text(const char* characters) {
    return (Slice){(void*)characters, (i64)strlen(characters)};
}

static f32_bits bits(float number) {
    f32_bits result;
    memcpy(&result, &number, sizeof result);
    return result;
}

/* Clears a frame buffer and draws triangles into it. */
static void draw(u32 buffer, i32 width, i32 height, u32 shader, float turn, i32 corners, i32 n) {
    frame_buffer_bind(FRAME_BUFFER_TARGET_DRAW, buffer);
    pipeline_viewport(0, 0, width, height);
    pipeline_clear(BUFFER_MASK_COLOR | BUFFER_MASK_DEPTH);
    shader_bind(shader);
    shader_uniform1f(shader_get_uniform_location(shader, text("turn")), bits(turn));
    draw_arrays(4 /* triangles */, 0, corners, n);
}

static b8 save(const char* file) {
    static u8 pixels[WIDTH * HEIGHT * 4];
    frame_buffer_unbind(FRAME_BUFFER_TARGET_READ);
    pipeline_read_pixels(0, 0, WIDTH, HEIGHT, PIXEL_FORMAT_RGBA, DATA_TYPE_UNSIGNED_BYTE, pixels);
    image_set_flip(1); /* the bottom row first, as OpenGL has it */
    return image_save((Image){pixels, WIDTH, HEIGHT}, text(file), 4);
}

int main(int argc, char** argv) {
    const char* file = argc > 1 ? argv[1] : NULL;
    if (!getenv("DISPLAY") && !getenv("WAYLAND_DISPLAY")) {
        setenv("SDL_VIDEODRIVER", "offscreen", 0);
        if (!file) file = "render_to_texture.png";
    }
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    if (!display_open(WIDTH, HEIGHT, text("render to texture"), DISPLAY_VSYNC, 0)) return 1;

    ShaderResult results[2];
    const u32 scene = shader_create(), solid = shader_create();
    shader_source(&results[0], scene, text(petals), text(""));
    shader_source(&results[1], solid, text(cube), text(""));
    vertex_array_bind(vertex_array_create());
    pipeline_clear_color(bits(0.30f), bits(0.33f), bits(0.40f), bits(1));
    pipeline_depth_enable(1);

    /* Nobody samples what is drawn into: a render buffer will do. A texture takes the result. */
    const u32 sampled = frame_buffer_create(), samples = render_buffer_create();
    render_buffer_bind(samples);
    render_buffer_storage_multisample(INTERNAL_FORMAT_RGBA8, SIDE, SIDE, 4);
    frame_buffer_bind(FRAME_BUFFER_TARGET_BOTH, sampled);
    frame_buffer_render_buffer(FRAME_BUFFER_TARGET_BOTH, FRAME_BUFFER_ATTACHMENT_COLOR, 0, samples);
    const u32 resolved = frame_buffer_create(), picture = texture_create();
    texture_bind(TEXTURE_TARGET_2D, picture);
    texture_image_2d(TEXTURE_TARGET_2D, 0, INTERNAL_FORMAT_RGBA8, SIDE, SIDE, PIXEL_FORMAT_RGBA,
                     DATA_TYPE_UNSIGNED_BYTE, NULL);
    texture_parameter_filter(TEXTURE_TARGET_2D, TEXTURE_PARAMETER_MIN_FILTER,
                             TEXTURE_FILTER_LINEAR);
    frame_buffer_bind(FRAME_BUFFER_TARGET_BOTH, resolved);
    frame_buffer_texture(FRAME_BUFFER_TARGET_BOTH, FRAME_BUFFER_ATTACHMENT_COLOR, 0, picture, 0);

    b8 good = results[0].success && results[1].success, done = !good;
    for (int frame = 1; !done; frame++) {
        const float turn = file ? (float)frame / FRAMES : (float)system_ticks() / 1000;
        input_poll();
        draw(sampled, SIDE, SIDE, scene, turn, 3, 12);
        frame_buffer_bind(FRAME_BUFFER_TARGET_READ, sampled);
        frame_buffer_bind(FRAME_BUFFER_TARGET_DRAW, resolved);
        frame_buffer_blit(0, 0, SIDE, SIDE, 0, 0, SIDE, SIDE, BUFFER_MASK_COLOR,
                          TEXTURE_FILTER_NEAREST);
        draw(0, WIDTH, HEIGHT, solid, turn, 36, 1);
        done = display_is_closed() || input_key_is_pressed(KEY_ESCAPE) || (file && frame == FRAMES);
        if (file && done) good = save(file);
        pipeline_present();
    }
    system_release();
    return !good;
}
