# tarnwick_find_protobuf(FOUND_VARIABLE VERSION_VARIABLE): finds Protocol Buffers 29 or later. The version is read from
# the headers (5029000 is 29.0), because the version in protobuf's own CMake package differs from release to release.
macro(tarnwick_find_protobuf found_variable version_variable)
    set(${found_variable} FALSE)
    set(${version_variable} "")
    # If protoc is in a separate package that is not installed, protobuf's CMake package stops the run with an unclear
    # message. So protoc is looked for first.
    find_program(TARNWICK_PROTOC protoc HINTS ${protobuf_DIR}/../../../bin ${protobuf_DIR}/../../../../bin)
    mark_as_advanced(TARNWICK_PROTOC)
    if(TARNWICK_PROTOC)
        find_package(protobuf QUIET CONFIG)
    endif()
    if(protobuf_FOUND)
        get_target_property(_tarnwick_include protobuf::libprotobuf INTERFACE_INCLUDE_DIRECTORIES)
        find_file(TARNWICK_PROTOBUF_COMMON_H google/protobuf/stubs/common.h HINTS ${_tarnwick_include})
        mark_as_advanced(TARNWICK_PROTOBUF_COMMON_H)
        if(TARNWICK_PROTOBUF_COMMON_H)
            file(STRINGS ${TARNWICK_PROTOBUF_COMMON_H} _tarnwick_line REGEX "#define GOOGLE_PROTOBUF_VERSION [0-9]+")
            string(REGEX MATCH "[0-9]+" _tarnwick_number "${_tarnwick_line}")
            if(_tarnwick_number GREATER_EQUAL 5029000)
                set(${found_variable} TRUE)
            endif()
            string(REGEX REPLACE "^([0-9]+)([0-9][0-9][0-9])([0-9][0-9][0-9])$" "\\1.\\2.\\3"
                ${version_variable} "${_tarnwick_number}")
            string(REGEX REPLACE "\\.0+([0-9])" ".\\1" ${version_variable} "${${version_variable}}")
        endif()
    endif()
endmacro()
