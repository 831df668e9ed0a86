# Faults of third-party headers that reach the host and that no release mends. The headers stay as
# they are; the library is built from corrected copies in the build folder. A text that isn't there
# exactly once stops here, so that another release can't go uncorrected unseen.

# Replaces one expression in the text held by the variable.
function(correct text_variable what original corrected)
    string(FIND "${${text_variable}}" "${original}" first)
    string(FIND "${${text_variable}}" "${original}" last REVERSE)
    if(first EQUAL -1 OR NOT first EQUAL last)
        message(FATAL_ERROR "The correction \"${what}\" doesn't fit this release: see cmake/corrections.cmake")
    endif()
    string(REPLACE "${original}" "${corrected}" text "${${text_variable}}")
    set(${text_variable} "${text}" PARENT_SCOPE)
endfunction()

# Reads a header that is to be corrected; when it changes, all of this is done again.
function(read_original text_variable file)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    file(READ "${file}" text)
    set(${text_variable} "${text}" PARENT_SCOPE)
endfunction()

# Leaves a copy that is as it should be untouched, so that nothing is built again.
function(write_corrected file text)
    set(present "")
    if(EXISTS "${file}")
        file(READ "${file}" present)
    endif()
    if(NOT present STREQUAL text)
        file(WRITE "${file}" "${text}")
    endif()
endfunction()

set(STB_CORRECTED_DIR "${PROJECT_BINARY_DIR}/corrected/stb")

read_original(stb_image "${STB_INCLUDE_DIR}/stb_image.h")

# The file's samples are big-endian, whatever the machine is. Taken as they lie, their low bytes
# become the pixels.
correct(stb_image "byte order of 16-bit PNM"
[[      return stbi__errpuc("bad PNM", "PNM file truncated");
   }
]]
[[      return stbi__errpuc("bad PNM", "PNM file truncated");
   }
   if (ri->bits_per_channel == 16) {
      stbi__uint16 *sample = (stbi__uint16 *) out;
      int i, count = s->img_n * s->img_x * s->img_y;
      for (i = 0; i < count; ++i)
         sample[i] = (stbi__uint16) ((out[2*i] << 8) | out[2*i+1]);
   }
]])

# A PIC that breaks off in its pixels goes on to be converted, from null and from a number of
# channels that is not set.
correct(stb_image "PIC without pixels"
[[      STBI_FREE(result);
      result=0;
]]
[[      STBI_FREE(result);
      return 0;
]])

# The rows that a TGA breaks off ahead of, or in, would show what the memory held before.
correct(stb_image "TGA without all of its rows"
[[         stbi__getn(s, tga_row, tga_width * tga_comp);
]]
[[         if (!stbi__getn(s, tga_row, tga_width * tga_comp)) memset(tga_row, 0, tga_width * tga_comp);
]])

# So would a progressive JPEG that breaks off, whose scans aren't made into pixels then, and any JPEG
# that ends ahead of its first scan.
correct(stb_image "progressive JPEG that breaks off"
[[         if (!stbi__process_marker(j, m)) return 1;
]]
[[         if (!stbi__process_marker(j, m)) break;
]])
correct(stb_image "JPEG without a scan"
[[   if (j->progressive)
      stbi__jpeg_finish(j);
   return 1;
]]
[[   if (j->progressive)
      stbi__jpeg_finish(j);
   return j->scan_n != 0;
]])

# So would one whose first scan doesn't reach all of its blocks, if no other does. The planes of most
# files are written whole, and aren't cleared.
correct(stb_image "JPEG without some of its scans: what to clear"
[[static int stbi__process_scan_header(stbi__jpeg *z)
{
   int i;
   int Ls = stbi__get16be(z->s);
]]
[[static void stbi__clear_planes(stbi__jpeg *z)
{
   int i, scanned = 0;
   for (i=0; i < z->scan_n; ++i)
      scanned |= 1 << z->order[i];
   if (!z->progressive && !z->restart_interval && scanned == (1 << z->s->img_n) - 1) return;
   for (i=0; i < z->s->img_n; ++i) {
      size_t size = (size_t) z->img_comp[i].w2 * z->img_comp[i].h2;
      if (z->progressive)
         memset(z->img_comp[i].coeff, 0, size * sizeof(short));
      else
         memset(z->img_comp[i].data, 0, size);
   }
}

static int stbi__process_scan_header(stbi__jpeg *z)
{
   int i;
   int first = z->scan_n == 0;
   int Ls = stbi__get16be(z->s);
]])
correct(stb_image "JPEG without some of its scans"
[[         if (z->succ_high != 0 || z->succ_low != 0) return stbi__err("bad SOS","Corrupt JPEG");
         z->spec_end = 63;
      }
   }
]]
[[         if (z->succ_high != 0 || z->succ_low != 0) return stbi__err("bad SOS","Corrupt JPEG");
         z->spec_end = 63;
      }
   }
   if (first) stbi__clear_planes(z);
]])

# A first piece of data without a byte in it would be copied to null.
correct(stb_image "PNG whose data starts with nothing"
[[            if (!stbi__getn(s, z->idata+ioff,c.length)) return]]
[[            if (c.length && !stbi__getn(s, z->idata+ioff,c.length)) return]])

# Pixels may name colours that aren't there. They would show what the stack held before.
correct(stb_image "colours that a BMP doesn't have"
[[   stbi_uc pal[256][4];
   int psize=0,]]
[[   stbi_uc pal[256][4] = {{0}};
   int psize=0,]])
correct(stb_image "colours that a PNG doesn't have"
[[   stbi_uc palette[1024], pal_img_n=0;]]
[[   stbi_uc palette[1024] = {0}, pal_img_n=0;]])

write_corrected("${STB_CORRECTED_DIR}/stb_image.h" "${stb_image}")

read_original(stb_image_write "${STB_WRITE_INCLUDE_DIR}/stb_image_write.h")

# Where the heap has no larger block, the compressed data would go on behind the one that there is.
# It gets the largest that it can need at the start: nine bits a byte, and a few bytes around them.
correct(stb_image_write "block of the compressed data"
[[   if (quality < 5) quality = 5;

]]
[[   if (quality < 5) quality = 5;
   stbiw__sbgrow(out, data_len + data_len/8 + 16);
   if (out == NULL) { STBIW_FREE(hash_table); return NULL; }

]])
# A place that can't be noted won't be found again: the file gets larger, no more.
correct(stb_image_write "places of bytes that come again"
[[      stbiw__sbpush(hash_table[h],data+i);
]]
[[      stbiw__sbmaybegrow(hash_table[h],1);
      if (!stbiw__sbneedgrow(hash_table[h],1)) stbiw__sbpush(hash_table[h],data+i);
]])
correct(stb_image_write "compressed data that no file can be made of"
[[   out = (unsigned char *) STBIW_MALLOC(8 + 12+13 + 12+zlen + 12);
   if (!out) return 0;
]]
[[   out = (unsigned char *) STBIW_MALLOC(8 + 12+13 + 12+zlen + 12);
   if (!out) { STBIW_FREE(zlib); return 0; }
]])

write_corrected("${STB_CORRECTED_DIR}/stb_image_write.h" "${stb_image_write}")

read_original(stb_vorbis "${STB_VORBIS_INCLUDE_DIR}/stb_vorbis.c")

# Sizes are products that a damaged file can drive beyond 32 bits, where they come out as smaller
# ones or as less than nothing.
correct(stb_vorbis "size of a block of the decoder's state"
[[static void *setup_malloc(vorb *f, int sz)
{
]]
[[static void *setup_malloc(vorb *f, size_t size)
{
   int sz = (int) size;
   if (size > INT_MAX - 7) return NULL;
]])
correct(stb_vorbis "size of a block of the decoder's passing state"
[[static void *setup_temp_malloc(vorb *f, int sz)
{
]]
[[static void *setup_temp_malloc(vorb *f, size_t size)
{
   int sz = (int) size;
   if (size > INT_MAX - 7) return NULL;
]])
correct(stb_vorbis "number of values in a codebook"
[[            c->lookup_values = c->entries * c->dimensions;
]]
[[            if (c->dimensions && c->entries > INT_MAX / c->dimensions) return error(f, VORBIS_invalid_setup);
            c->lookup_values = c->entries * c->dimensions;
]])

# Sixteen million codes take a few bytes of a header, and there may be 256 codebooks: gigabytes, and
# minutes, from a file of one kilobyte. Real files have some ten thousand codes in all, of some
# hundred thousand values.
correct(stb_vorbis "size of all codebooks together: the sums"
[[   f->codebook_count = get_bits(f,8) + 1;
]]
[[   long long all_entries = 0, all_values = 0;
   f->codebook_count = get_bits(f,8) + 1;
]])
correct(stb_vorbis "size of all codebooks together"
[[      if (c->dimensions == 0 && c->entries != 0)    return error(f, VORBIS_invalid_setup);
]]
[[      if (c->dimensions == 0 && c->entries != 0)    return error(f, VORBIS_invalid_setup);
      all_entries += c->entries;
      all_values += (long long) c->entries * c->dimensions;
      if (all_entries > 1 << 20 || all_values > 1 << 24) return error(f, VORBIS_invalid_setup);
]])
correct(stb_vorbis "size of all lists of classes, made out of codebooks"
[[      r->classdata = (uint8 **) setup_malloc(]]
[[      all_entries += f->codebooks[r->classbook].entries;
      all_values += (long long) f->codebooks[r->classbook].entries * f->codebooks[r->classbook].dimensions;
      if (all_entries > 1 << 20 || all_values > 1 << 24) return error(f, VORBIS_invalid_setup);
      r->classdata = (uint8 **) setup_malloc(]])

# A damaged file can ask for comments of any length, and as many of them, before a byte of them is
# there: gigabytes, and seconds. None can be longer than what is left of the file.
correct(stb_vorbis "lengths of the comments: what a file can hold"
[[static int start_decoder(vorb *f)
{
]]
[[static int is_in_file(vorb *f, int count, int size)
{
   return count >= 0 && (long long) count * size <= (long long) f->stream_len - stb_vorbis_get_file_offset(f);
}

static int start_decoder(vorb *f)
{
]])
correct(stb_vorbis "length of the vendor's name"
[[   f->vendor = (char*)setup_malloc(]]
[[   if (!is_in_file(f, len, 1))                      return error(f, VORBIS_invalid_setup);
   f->vendor = (char*)setup_malloc(]])
correct(stb_vorbis "length of a comment"
[[      f->comment_list[i] = (char*)setup_malloc(]]
[[      if (!is_in_file(f, len, 1))                   return error(f, VORBIS_invalid_setup);
      f->comment_list[i] = (char*)setup_malloc(]])

# Until there is a list, and until it is filled, the end of a decoder frees what isn't one.
correct(stb_vorbis "number of comments"
[[   f->comment_list_length = get32_packet(f);
]]
[[   len = get32_packet(f);
   if (!is_in_file(f, len, 4))                      return error(f, VORBIS_invalid_setup);
]])
correct(stb_vorbis "list of comments: a length without a list"
[[   if (f->comment_list_length > 0)
]]
[[   if (len > 0)
]])
correct(stb_vorbis "list of comments: entries that aren't set"
[[      f->comment_list = (char**) setup_malloc(f, sizeof(char*) * (f->comment_list_length));
      if (f->comment_list == NULL)                  return error(f, VORBIS_outofmem);
]]
[[      f->comment_list = (char**) setup_malloc(f, sizeof(char*) * len);
      if (f->comment_list == NULL)                  return error(f, VORBIS_outofmem);
      memset(f->comment_list, 0, sizeof(char*) * len);
      f->comment_list_length = len;
]])

# A sparse codebook without entries has no table that the code for "none" could be looked up in.
correct(stb_vorbis "look-up in an empty codebook"
[[   if (c->sparse) var = c->sorted_values[var];]]
[[   if (c->sparse && var >= 0) var = c->sorted_values[var];]])

# There are up to 16.
correct(stb_vorbis "floors of a mapping" [[submap_floor[15];]] [[submap_floor[16];]])
correct(stb_vorbis "residues of a mapping" [[submap_residue[15];]] [[submap_residue[16];]])

# Interleaved residues of all channels are as long as all channels together, not as two. They take
# the first channel's list alone, so that the lists for the others aren't made: they come from the
# stack.
correct(stb_vorbis "residue of more than two channels"
[[rtype == 2 ? n*2 : n;]]
[[rtype == 2 ? n*ch : n;]])
correct(stb_vorbis "lists for the residue of more than two channels"
[[(uint8 ***) temp_block_array(f,f->channels, part_read]]
[[(uint8 ***) temp_block_array(f,(rtype == 2 ? 1 : f->channels), part_read]])

# A frame that turns out to be empty or shorter than it said leaves less than nothing to be read,
# and the next read would write behind its block.
correct(stb_vorbis "seek into a frame that breaks off"
[[      assert(sample_number > frame_start);
]]
[[      if (sample_number - frame_start > (uint32) (f->channel_buffer_end - f->channel_buffer_start))
         return error(f, VORBIS_seek_failed);
]])

# A setup header that is refused half-way leaves blocks behind that only its reader knew, up to 12
# MB. All blocks of a decoder are kept in a list, and what is left of it at the decoder's end goes.
correct(stb_vorbis "list of the decoder's blocks: its start"
[[  // memory management
   stb_vorbis_alloc alloc;
]]
[[  // memory management
   struct setup_block *blocks;
   stb_vorbis_alloc alloc;
]])
correct(stb_vorbis "list of the decoder's blocks"
[[static void *setup_malloc(vorb *f, size_t size)
]]
[[typedef struct setup_block
{
   struct setup_block *previous, *next;
} setup_block;

static void *block_malloc(vorb *f, int sz)
{
   setup_block *b = (setup_block *) malloc(sizeof(*b) + sz);
   if (b == NULL) return NULL;
   b->previous = NULL;
   b->next = f->blocks;
   if (b->next) b->next->previous = b;
   f->blocks = b;
   return b + 1;
}

static void block_free(vorb *f, void *p)
{
   setup_block *b;
   if (p == NULL) return;
   b = (setup_block *) p - 1;
   if (b->next) b->next->previous = b->previous;
   if (b->previous) b->previous->next = b->next;
   else f->blocks = b->next;
   free(b);
}

// The decoder itself is in the list too, and goes last.
static void free_other_blocks(vorb *f)
{
   setup_block *b = f->blocks, *next;
   for (; b; b = next) {
      next = b->next;
      if ((void *) (b + 1) != (void *) f) block_free(f, b + 1);
   }
}

static void *setup_malloc(vorb *f, size_t size)
]])
correct(stb_vorbis "list of the decoder's blocks: state"
[[   return sz ? malloc(sz) : NULL;
]]
[[   return sz ? block_malloc(f, sz) : NULL;
]])
correct(stb_vorbis "list of the decoder's blocks: passing state"
[[   return malloc(sz);
]]
[[   return block_malloc(f, sz);
]])
correct(stb_vorbis "list of the decoder's blocks: end of state"
[[   if (f->alloc.alloc_buffer) return; // do nothing; setup mem is a stack
   free(p);
]]
[[   if (f->alloc.alloc_buffer) return; // do nothing; setup mem is a stack
   block_free(f, p);
]])
correct(stb_vorbis "list of the decoder's blocks: end of passing state"
[[      f->temp_offset += (sz+7)&~7;
      return;
   }
   free(p);
]]
[[      f->temp_offset += (sz+7)&~7;
      return;
   }
   block_free(f, p);
]])
correct(stb_vorbis "list of the decoder's blocks: what is left"
[[   if (p->close_on_free) fclose(p->f);
]]
[[   if (p->close_on_free) fclose(p->f);
   free_other_blocks(p);
]])

# Where the file can't be read at a place, the decoder goes on at another one. To write to a file that
# is there to be read leaves the same mark on it that a read leaves which fails.
correct(stb_vorbis "mark of a place that can't be gone to"
[[   f->eof = 1;
   fseek(f->f, f->f_start, SEEK_END);
]]
[[   f->eof = 1;
   fputc(0, f->f);
   fseek(f->f, f->f_start, SEEK_END);
]])
correct(stb_vorbis "mark of a place that can't be told"
[[   return (unsigned int) (ftell(f->f) - f->f_start);
]]
[[   long at = ftell(f->f);
   if (at < 0) fputc(0, f->f);
   return (unsigned int) (at - f->f_start);
]])

correct(stb_vorbis "mark of a place that can't be gone back to"
[[      long x = ftell(z->f);
      fseek(z->f, x+n, SEEK_SET);
]]
[[      long x = ftell(z->f);
      if (x < 0 || fseek(z->f, x+n, SEEK_SET)) fputc(0, z->f);
]])

write_corrected("${STB_CORRECTED_DIR}/stb_vorbis.c" "${stb_vorbis}")

set(DR_CORRECTED_DIR "${PROJECT_BINARY_DIR}/corrected/dr_libs")

read_original(dr_wav "${DR_WAV_INCLUDE_DIR}/dr_wav.h")

# Floats from 1.0 on are beyond the whole numbers of 32 bits, and would come out as the least one:
# the loudest sample with its sign turned round.
foreach(type "float" "double")
    if(type STREQUAL "float")
        set(scale "2147483648.0f")
    else()
        set(scale "2147483648.0")
    endif()
    correct(dr_wav "full scale of ${type} in 32 bits"
"        *pOut++ = (drwav_int32)(${scale} * pIn[i]);
"
"        ${type} x = ${scale} * pIn[i];
        *pOut++ = x >= ${scale} ? 0x7FFFFFFF : x > -${scale} ? (drwav_int32)x : -0x7FFFFFFF - 1;
")
endforeach()

write_corrected("${DR_CORRECTED_DIR}/dr_wav.h" "${dr_wav}")

read_original(dr_flac "${DR_FLAC_INCLUDE_DIR}/dr_flac.h")

# What of a frame can't be decoded is silence, where the block's old contents would be played.
foreach(kind "constant" "verbatim" "fixed" "lpc")
    set(arguments "bs, frame->header.blockSizeInPCMFrames, subframeBitsPerSample, ")
    if(kind STREQUAL "fixed" OR kind STREQUAL "lpc")
        string(APPEND arguments "pSubframe->lpcOrder, ")
    endif()
    correct(dr_flac "${kind} part of a frame that breaks off"
"            drflac__decode_samples__${kind}(${arguments}pSubframe->pSamplesS32);
        } break;
"
"            if (!drflac__decode_samples__${kind}(${arguments}pSubframe->pSamplesS32)) {
                DRFLAC_ZERO_MEMORY(pSubframe->pSamplesS32, frame->header.blockSizeInPCMFrames * sizeof(drflac_int32));
            }
        } break;
")
endforeach()

# Partitions that aren't all of the same size leave samples behind them that belong to none.
correct(dr_flac "partitions that don't make up a frame"
[[    samplesInPartition = (blockSize / (1 << partitionOrder)) - lpcOrder;
    partitionsRemaining = (1 << partitionOrder);
    for (;;) {
        drflac_uint8 riceParam = 0;
]]
[[    if (blockSize % (1 << partitionOrder) != 0) {
        return DRFLAC_FALSE;
    }

    samplesInPartition = (blockSize / (1 << partitionOrder)) - lpcOrder;
    partitionsRemaining = (1 << partitionOrder);
    for (;;) {
        drflac_uint8 riceParam = 0;
]])

# A seek table can point anywhere below 2^64, and the way there goes by steps of 2^31.
correct(dr_flac "place in a file that no file reaches"
[[static drflac_bool32 drflac__seek_to_byte(drflac_bs* bs, drflac_uint64 offsetFromStart)
{
]]
[[static drflac_bool32 drflac__seek_to_byte(drflac_bs* bs, drflac_uint64 offsetFromStart)
{
    if (offsetFromStart >> 40 != 0) return DRFLAC_FALSE;
]])

# A page that is damaged, and the last, leaves its own size beside what was left of the page before:
# the next read would start gigabytes behind the page.
correct(dr_flac "end of a FLAC in Ogg on a damaged page"
[[static drflac_bool32 drflac_oggbs__goto_next_page(drflac_oggbs* oggbs, drflac_ogg_crc_mismatch_recovery recoveryMethod)
{
    drflac_ogg_page_header header;
]]
[[static drflac_bool32 drflac_oggbs__goto_next_page(drflac_oggbs* oggbs, drflac_ogg_crc_mismatch_recovery recoveryMethod)
{
    drflac_ogg_page_header header;
    oggbs->bytesRemainingInPage = 0;
]])

write_corrected("${DR_CORRECTED_DIR}/dr_flac.h" "${dr_flac}")

set(GLAD_CORRECTED_DIR "${PROJECT_BINARY_DIR}/corrected/glad")

read_original(glad "${GLAD_DIR}/src/gl.c")

# The heap may have had no room for an extension's name.
correct(glad "extension without a name" [[if(strcmp(e, ext) == 0)]] [[if(e != NULL && strcmp(e, ext) == 0)]])

write_corrected("${GLAD_CORRECTED_DIR}/gl.c" "${glad}")
