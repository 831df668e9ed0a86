/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Image files to pixels and pixels to image files.
 *
 * Reads JPEG, PNG, BMP, GIF (its first picture), PSD (the flattened RGB picture), PIC, PNM (P5 and
 * P6) and TGA, each down to 8 bits a channel. Writes BMP, PNG, TGA and JPEG.
 *
 * Memory. A load takes no memory of the library's: the host lends one block, the image buffer, and
 * everything that a decoder needs is taken from it, one block behind the other. The library keeps
 * no list of these blocks and frees none of them. What it keeps is a position, the offset from
 * which the next one is taken, and the host moves it back:
 *
 *     image_set_buffer(size, memory);                  once; the position is 0
 *     mark = image_get_buffer_position();              ahead of what will be given back
 *     image_load(&image, path, 4);                     the position moves up
 *     ...                                              use image.data; load more, if need be
 *     image_set_buffer_position(mark);                 all loads since the mark are gone
 *
 *  - A load leaves its working memory behind beside the pixels, so `data` is the only way to find
 *    these: it stands somewhere above the mark, not at it.
 *  - The pixels stay good while the position stays above them. Several images live side by side;
 *    none can be given back on its own.
 *  - Nothing but image_set_buffer_position and image_set_buffer moves the position back, not even
 *    a load that fails. A buffer that is never moved back fills up, and each later load fails.
 *  - The block has to stay valid while loads go on or pixels are read. Blocks are taken at
 *    multiples of 8 from its start: lend memory that is aligned to 8 bytes or more.
 *  - Nothing needs freeing: stbi_image_free can be called on the pixels and does nothing.
 *
 * How much to lend. With w and h the sides rounded up to multiples of 16, this is enough for one
 * load of any file, position 0, whatever the channels asked for:
 *
 *     8 bits a channel     w * h * 20 + twice the file's size + 64 KiB
 *     16 bits a channel    w * h * 44 + twice the file's size + 64 KiB
 *
 * Most files take far less: with 4 channels 1 to 2.5 times the pixels' bytes, an interlaced PNG 4
 * times, a PNG of 16 bits 6.5 times; with 3 channels up to 4.3, 7.7 for PNG of 16 bits. A buffer
 * that holds several images needs the sum. No single block of 2^30 bytes or more is given out.
 *
 * A load that runs out of buffer also prints one line to standard output, "image memory allocation
 * failed" or "image memory reallocation failed".
 *
 * Calls, where nothing else is said:
 *
 * @thread   one
 * @memory   none
 * @failure  none
 * @heap     none
 * @waits    no
 */

#include "types.h"

/**
 * A decoded image. The number of channels isn't kept: the host names it in each call.
 *
 * `height` rows of `width * channels` bytes, 8 bits a channel, channels interleaved, no padding.
 * The top row of the picture comes first unless image_set_flip is on.
 */
typedef struct Image {
    void* data; /**< the pixels; null when a load has failed */
    i32 width;  /**< pixels a row */
    i32 height; /**< rows */
} Image;

/**
 * Lends a block to all later loads and sets the position to 0. What the block before held is
 * forgotten; the same block may be lent again. Its contents aren't touched.
 *
 * @param size      of the block in bytes.
 * @param memory    the block, kept until the next call. Null lends nothing.
 */
HALVORIN_API void image_set_buffer(i64 size, void* memory);

/**
 * Moves the position of the image buffer, as a rule back to a mark. Stored as it is: it needn't be
 * aligned, and one outside the buffer makes every load fail.
 */
HALVORIN_API void image_set_buffer_position(i64 position);

/**
 * The position of the image buffer. Behind an exhausted buffer it may be above the buffer's size.
 */
HALVORIN_API i64 image_get_buffer_position(void);

/**
 * Turns pictures upside down, on all later loads and saves alike: with `flip` the bottom row comes
 * first in memory. Off at the start.
 */
HALVORIN_API void image_set_flip(b8 flip);

/**
 * Decodes an image file into the image buffer.
 *
 * @param result    filled in; null `data` means failure, and then `width` and `height` mean
 *                  nothing.
 * @param path      UTF-8, at most 16383 bytes; the bytes reach the file system as they are. The
 *                  file's content decides on the format, not its extension.
 * @param channels  wanted channels: 1 grey, 2 grey and alpha, 3 red green blue, 4 red green blue
 *                  alpha; or 0 for the file's own count, which is not reported.
 * @memory    text, image buffer: the pixels and the decoder's working memory, until the host moves
 *            the position back; also when the load fails.
 * @lifetime  until image_set_buffer_position goes below the pixels, or image_set_buffer.
 * @failure   null `data`: no such file (the position doesn't move), a directory, no known format,
 *            damaged content, a file that can't be read to its end, a picture without pixels, other
 *            numbers of channels. An exhausted buffer also prints its line.
 * @heap      C library: for opening the file.
 * @waits     disk
 */
HALVORIN_API void image_load(Image* result, Slice path, i8 channels);

/**
 * Decodes the bytes of an image file, as image_load does. They are only read, and not needed any
 * more after the call.
 *
 * @param size  of the file's bytes.
 * @memory      image buffer
 * @lifetime    until image_set_buffer_position goes below the pixels, or image_set_buffer.
 * @failure     null `data`
 */
HALVORIN_API void image_load_from_memory(Image* result, i32 size, void* data, i8 channels);

/**
 * Writes pixels to an image file, replacing a file of that name. Takes nothing from the image
 * buffer; the pixels may stand anywhere.
 *
 * @param image     as a load gives it, or the host's own, with `width` and `height` at least 1.
 * @param path      UTF-8, at most 16383 bytes. What follows the last dot decides on the format:
 *                  `bmp`, `png`, `tga` (run-length encoded) or `jpg` (quality 100), in lower case.
 * @param channels  of the pixels, 1 to 4. Alpha is written to `png` and `tga`, and to `bmp` with 4
 *                  channels; elsewhere it is dropped. `bmp` holds grey as three equal channels.
 * @return    true when the file was written, to its last byte.
 * @memory    text
 * @failure   false: another extension or none, a name that can't be opened for writing; a full disk
 *            or another failure on the way, which leaves a file cut short. Also, with no file made
 *            and one of that name left as it is: no memory on the heap for a `png`, null `data`,
 *            other numbers of channels, and pictures that the format can't hold (`tga` and `jpg`
 *            have sides of at most 65535; 2^31 bytes, and 1342177275 for `png`, are too many).
 * @heap      C library, encoder: that of PNG.
 * @waits     disk
 */
HALVORIN_API b8 image_save(Image image, Slice path, i8 channels);
