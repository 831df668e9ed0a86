# What the library stands on. Each is found where a distribution or a package manager puts it; one
# that is missing or too old stops here with a line that says what to install.

find_package(SDL2 2.0.20 CONFIG QUIET)
if(NOT TARGET SDL2::SDL2)
    message(FATAL_ERROR "SDL2 is missing: install its development files (libsdl2-dev, or script/bootstrap)")
endif()

# script/bootstrap keeps the headers that the distribution lacks in a cache outside the tree.
if(NOT "$ENV{HALVORIN_DEPS}" STREQUAL "")
    set(deps_cache "$ENV{HALVORIN_DEPS}")
elseif(NOT "$ENV{XDG_CACHE_HOME}" STREQUAL "")
    set(deps_cache "$ENV{XDG_CACHE_HOME}/halvorin-system")
else()
    set(deps_cache "$ENV{HOME}/.cache/halvorin-system")
endif()

# Sets `result` to the folder of a header-only library's header whose text matches `version_text`.
function(find_header result header suffix version_text hint)
    find_path(${result} ${header} HINTS "${deps_cache}/include" PATH_SUFFIXES ${suffix})
    if(NOT ${result})
        message(FATAL_ERROR "${header} is missing: install ${hint}, or run script/bootstrap")
    endif()
    file(STRINGS "${${result}}/${header}" found REGEX "${version_text}" LIMIT_COUNT 1)
    if(NOT found)
        message(FATAL_ERROR "${${result}}/${header} is too old: install ${hint}, or run script/bootstrap")
    endif()
endfunction()

find_header(STB_INCLUDE_DIR stb_image.h stb "^/\\* stb_image - v2\\.([3-9][0-9])" "stb with stb_image 2.30 or later")
find_header(STB_WRITE_INCLUDE_DIR stb_image_write.h stb "^/\\* stb_image_write - v1\\.(1[6-9]|[2-9][0-9])"
            "stb with stb_image_write 1.16 or later")
find_header(STB_VORBIS_INCLUDE_DIR stb_vorbis.c stb "^// Ogg Vorbis audio decoder - v1\\.(2[2-9]|[3-9][0-9])"
            "stb with stb_vorbis 1.22 or later")
find_header(DR_WAV_INCLUDE_DIR dr_wav.h dr_libs "^dr_wav - v0\\.(14\\.([5-9]|[1-9][0-9])|1[5-9]|[2-9][0-9])"
            "dr_libs with dr_wav 0.14.5 or later")
find_header(DR_FLAC_INCLUDE_DIR dr_flac.h dr_libs "^dr_flac - v0\\.(13\\.([3-9]|[1-9][0-9])|1[4-9]|[2-9][0-9])"
            "dr_libs with dr_flac 0.13.3 or later")

# The OpenGL loader is generated at configure time.
find_program(GLAD_EXECUTABLE glad)
if(NOT GLAD_EXECUTABLE)
    message(FATAL_ERROR "glad is missing: install its generator, version 2 (python3-glad, or script/bootstrap)")
endif()
set(GLAD_DIR "${PROJECT_BINARY_DIR}/glad")
if(NOT EXISTS "${GLAD_DIR}/src/gl.c")
    execute_process(
        COMMAND ${GLAD_EXECUTABLE} --reproducible --quiet --api gl:core=3.3
                --extensions GL_EXT_texture_compression_s3tc,GL_EXT_texture_filter_anisotropic
                --out-path ${GLAD_DIR} c
        RESULT_VARIABLE glad_status ERROR_VARIABLE glad_errors OUTPUT_QUIET)
    if(NOT glad_status EQUAL 0 OR NOT EXISTS "${GLAD_DIR}/src/gl.c")
        message(FATAL_ERROR "glad can't generate the OpenGL 3.3 loader (version 2 is needed): ${glad_errors}")
    endif()
endif()

include(cmake/corrections.cmake)
