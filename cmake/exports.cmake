# The list of names that leave the library, written as a linker version script: everything that the
# public headers declare, and beside it the public names of the third-party code that is built in.

file(GLOB api_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/api/*.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${api_headers})
set(exported "")
foreach(header IN LISTS api_headers)
    file(READ ${header} text)
    # A declaration may run over lines; the name stands ahead of its parameter list, array size or
    # end. Brackets and semicolons are more than text to a CMake list.
    string(REGEX REPLACE "[;[]" "(" text "${text}")
    string(REGEX MATCHALL "\nHALVORIN_(API|DATA) [^(]*\\(" declarations "${text}")
    foreach(declaration IN LISTS declarations)
        string(REGEX MATCH "([a-z0-9_]+)\\($" ignored "${declaration}")
        list(APPEND exported ${CMAKE_MATCH_1})
    endforeach()
endforeach()
list(SORT exported)

set(third_party_patterns "stbi_*" "stbiw_*" "gladLoad*" "glad_gl*" "GLAD_*" "gladSet*"
    "stb_vorbis_*" "drwav_*" "drflac_*")

# Writes a linker version script.
function(write_export_list file)
    list(JOIN ARGN ";\n        " names)
    file(CONFIGURE OUTPUT ${file} @ONLY CONTENT
"{
    global:
        @names@;
    local:
        *;
};
")
endfunction()

set(HALVORIN_EXPORT_LIST ${PROJECT_BINARY_DIR}/exports.map)
write_export_list(${HALVORIN_EXPORT_LIST} ${exported} ${third_party_patterns})
# The interface of our own alone.
set(HALVORIN_ABI_LIST ${PROJECT_BINARY_DIR}/own_exports.map)
write_export_list(${HALVORIN_ABI_LIST} ${exported})
