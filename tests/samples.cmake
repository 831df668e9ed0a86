# Sample images are made once, with what ImageMagick reads from them.
find_program(CONVERT_EXECUTABLE convert)
if(NOT CONVERT_EXECUTABLE)
    message(FATAL_ERROR "ImageMagick is missing: install imagemagick, or run script/bootstrap")
endif()
set(image_samples ${PROJECT_BINARY_DIR}/tests/image_samples)
add_custom_command(OUTPUT ${image_samples}.made
    COMMAND ${PROJECT_SOURCE_DIR}/tests/support/make_images.sh ${image_samples}
    COMMAND ${CMAKE_COMMAND} -E touch ${image_samples}.made
    DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/make_images.sh)
add_custom_target(image_samples DEPENDS ${image_samples}.made)

# Sample sounds are made once, with what other tools read from them.
foreach(tool sox flac oggenc oggdec)
    find_program(${tool}_EXECUTABLE ${tool})
    if(NOT ${tool}_EXECUTABLE)
        message(FATAL_ERROR "${tool} is missing: install sox, flac and vorbis-tools, or run script/bootstrap")
    endif()
endforeach()
set(sound_samples ${PROJECT_BINARY_DIR}/tests/sound_samples)
add_custom_command(OUTPUT ${sound_samples}.made
    COMMAND ${PROJECT_SOURCE_DIR}/tests/support/make_sounds.sh ${sound_samples}
    COMMAND ${CMAKE_COMMAND} -E touch ${sound_samples}.made
    DEPENDS ${PROJECT_SOURCE_DIR}/tests/support/make_sounds.sh)
add_custom_target(sound_samples DEPENDS ${sound_samples}.made)

