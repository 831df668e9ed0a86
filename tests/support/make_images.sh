#!/usr/bin/env bash
# SPDX-License-Identifier: Zlib
# Makes the sample images of the image tests with ImageMagick, and beside each one the pixels that
# ImageMagick reads from it: RGBA, 16 bits a sample, little-endian. Takes the folder to write to.
set -euo pipefail
mkdir -p "$1"
cd "$1"
rm -f -- *

# Sides that no block size divides, and colours that differ in every pixel.
convert -size 21x13 -seed 7 plasma:red-blue -depth 8 colour.miff
convert -size 21x13 -depth 8 gradient:white-black -rotate 180 grey.miff
convert colour.miff grey.miff -compose CopyOpacity -composite blended.miff
convert colour.miff \( grey.miff -threshold 50% \) -compose CopyOpacity -composite cut.miff
convert -size 21x13 -seed 7 plasma:red-blue -depth 16 deep.miff
convert deep.miff \( deep.miff -rotate 180 -colorspace Gray \) -compose CopyOpacity -composite deep-blended.miff
convert -size 48x48 -seed 7 xc:red +noise Random -depth 8 noise.miff

# Colours that the way to RGB and back doesn't cut off, or a reader's grey would depend on that way.
jpeg() { convert "$1.miff" -fill gray -colorize 50% -quality 90 -sampling-factor "$2" "${@:4}" "$3"; }
jpeg colour 1x1 444.jpg
jpeg colour 2x2 420.jpg
jpeg colour 2x2 progressive.jpg -interlace JPEG
jpeg grey 1x1 grey.jpg -colorspace Gray

# A warning is a file that isn't what its name says. A background would be a colour of the palette.
png() {
    convert -regard-warnings "$1.miff" +dither "${@:5}" -define png:exclude-chunk=bKGD \
        -define png:color-type="$2" -define png:bit-depth="$3" "png:$4.png"
}
png grey 0 1 grey1 -threshold 50%
png grey 0 4 grey4 -posterize 16
png grey 0 8 grey8
png deep 0 16 grey16 -colorspace Gray
png colour 2 8 rgb8
png deep 2 16 rgb16
png colour 3 1 palette1 -colors 2
png colour 3 4 palette4 -colors 16
png colour 3 8 palette8 -colors 200
convert cut.miff +dither -colors 60 png8:palette8-alpha.png
png blended 4 8 grey-alpha8 -colorspace Gray
png deep-blended 4 16 grey-alpha16 -colorspace Gray
png blended 6 8 rgba8
png deep-blended 6 16 rgba16
png blended 6 8 rgba8-interlaced -interlace PNG
png grey 0 4 grey4-interlaced -posterize 16 -interlace PNG
png colour 2 8 rgb8-key -fill white -draw 'rectangle 3,3 9,9' -transparent white
png noise 2 8 large

convert colour.miff -monochrome -type bilevel bmp3:1.bmp
convert colour.miff -colors 200 -type Palette -compress none bmp3:8.bmp
convert colour.miff -define bmp:subtype=RGB555 bmp:555.bmp
convert colour.miff bmp3:24.bmp
convert blended.miff bmp:32.bmp

convert colour.miff -colors 200 plain.gif
convert colour.miff -colors 16 -interlace GIF interlaced.gif
convert cut.miff clear.gif
convert -size 21x13 xc:red xc:blue animated.gif

convert colour.miff -compress none raw.psd
convert colour.miff -compress RLE packed.psd
convert cut.miff -compress RLE alpha.psd
convert deep.miff -compress none raw16.psd

convert grey.miff 8.pgm
convert deep.miff -colorspace Gray 16.pgm
convert colour.miff 8.ppm
convert deep.miff 16.ppm

convert colour.miff -compress none rgb.tga
convert colour.miff -orient TopLeft -compress RLE rgb-rle.tga
convert blended.miff -compress none rgba.tga
convert blended.miff -compress RLE rgba-rle.tga
convert grey.miff -compress none grey.tga
convert colour.miff -colors 200 -type Palette -compress none palette.tga
convert colour.miff -colors 200 -type Palette -compress RLE palette-rle.tga

rm -- *.miff
# Only TGA says in which order its rows are.
for image in *; do
    convert "$image[0]" -auto-orient -depth 16 -endian LSB "rgba:$image.rgba16"
done

# No tool writes Softimage PIC. Five by two pixels in a packet of each kind: red raw, green and blue with
# plain run lengths, alpha with mixed ones.
python3 - <<'END'
packets = pixels = b""
for r in (0, 100):
    red, alpha = [r + 1, r + 2, r + 3, r + 4, r + 5], [r + 50, r + 51, r + 52, r + 52, r + 53]
    green, blue = [r + 20] * 3 + [r + 21] * 2, [r + 30] * 3 + [r + 31] * 2
    packets += bytes(red + [3, r + 20, r + 30, 2, r + 21, r + 31])
    packets += bytes([1, r + 50, r + 51, 129, r + 52, 128, 0, 1, r + 53])
    pixels += b"".join(bytes([0, value]) for pixel in zip(red, green, blue, alpha) for value in pixel)
kinds = bytes([1, 8, 0, 0x80, 1, 8, 1, 0x60, 0, 8, 2, 0x10])
header = b"\x53\x80\xF6\x34" + bytes(84) + b"PICT" + bytes([0, 5, 0, 2, 0, 0, 0, 0, 0, 3, 0, 0])
open("packets.pic", "wb").write(header + kinds + packets)
open("packets.pic.rgba16", "wb").write(pixels)
END
