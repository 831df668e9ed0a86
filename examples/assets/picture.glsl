// SPDX-License-Identifier: Zlib
// A picture on the screen: a rectangle in pixels from the top left corner, with rounded corners.

#vertex
#version 330 core
uniform vec4 rectangle; // left, top, width, height
uniform vec2 view;      // size of the view

out vec2 uv;

void main() {
    vec2 corner = vec2(gl_VertexID & 1, gl_VertexID >> 1);
    vec2 at = (rectangle.xy + corner * rectangle.zw) / view;
    uv = vec2(corner.x, 1.0 - corner.y);
    gl_Position = vec4(2.0 * at.x - 1.0, 1.0 - 2.0 * at.y, 0.0, 1.0);
}

#fragment
#version 330 core
in vec2 uv;

uniform vec4 rectangle;
uniform float rounding; // radius of the corners in pixels
uniform sampler2D picture;

out vec4 color;

void main() {
    vec2 inside = abs(uv - 0.5) * rectangle.zw - 0.5 * rectangle.zw + rounding;
    float edge = length(max(inside, 0.0)) + min(max(inside.x, inside.y), 0.0) - rounding;
    color = texture(picture, uv);
    color.a *= clamp(0.5 - edge, 0.0, 1.0);
}
