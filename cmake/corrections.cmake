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

write_corrected("${STB_CORRECTED_DIR}/stb_image.h" "${stb_image}")
