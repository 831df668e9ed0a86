# Sample images and sounds are made once, with what other tools read from them.
foreach(tool convert sox flac oggenc oggdec)
    find_program(${tool}_EXECUTABLE ${tool})
    if(NOT ${tool}_EXECUTABLE)
        message(FATAL_ERROR
            "${tool} is missing: install imagemagick, sox, flac and vorbis-tools, or run script/bootstrap")
    endif()
endforeach()
foreach(kind image sound)
    set(samples ${PROJECT_BINARY_DIR}/tests/${kind}_samples)
    set(maker ${PROJECT_SOURCE_DIR}/tests/support/make_${kind}s.sh)
    add_custom_command(OUTPUT ${samples}.made
        COMMAND ${maker} ${samples}
        COMMAND ${CMAKE_COMMAND} -E touch ${samples}.made
        DEPENDS ${maker})
    add_custom_target(${kind}_samples DEPENDS ${samples}.made)
    set(${kind}_samples ${samples})
endforeach()
