# Common settings of all targets.

# Options of everything built here.
function(tarnwick_build_options target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
    if(TARNWICK_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${TARNWICK_SANITIZE} -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${TARNWICK_SANITIZE})
        # A packaged, uninstrumented libprotobuf and instrumented message classes disagree about the addresses of
        # message globals.
        target_compile_definitions(${target} PRIVATE PROTOBUF_MESSAGE_GLOBALS_TEMPORARY_OPTOUT)
    endif()
endfunction()

# Options of our own sources.
function(tarnwick_own_sources target)
    tarnwick_build_options(${target})
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    if(TARNWICK_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(TARNWICK_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # False positives about std::variant: instrumentation hides from g++ what an optimised build shows.
        target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
endfunction()

# Third-party headers take most of the compile time of our sources. toolchain/lint reads each source without precompiled
# headers, so that each source includes what it uses.
function(tarnwick_precompile_headers target)
    target_precompile_headers(${target} PRIVATE
        <QtCore/QVariant>
        <fmt/format.h>
        <pelorin/protobuf/Glimmet/sql.pb.h>
        <tarnwick/rpc/php/v1/notify_request.pb.h>
        ${ARGN})
endfunction()

# A shared library of the project: hidden symbols unless marked, nothing undefined, a SONAME with major and minor
# version (below 1.0, minor versions may be incompatible).
function(tarnwick_shared_library target)
    add_library(Tarnwick::${target} ALIAS ${target})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    # Clang links the sanitizers' run time into the program only.
    if(NOT TARNWICK_SANITIZE OR CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
endfunction()

# A library of generated message classes from all .proto files below a folder of proto/.
function(tarnwick_message_library target)
    file(GLOB_RECURSE protos CONFIGURE_DEPENDS ${ARGN})
    add_library(${target} SHARED ${protos})
    tarnwick_shared_library(${target})
    tarnwick_build_options(${target})
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/generated)
    file(MAKE_DIRECTORY ${generated})
    protobuf_generate(TARGET ${target} LANGUAGE cpp
        IMPORT_DIRS ${PROJECT_SOURCE_DIR}/proto
        PROTOC_OUT_DIR ${generated}
        OUT_VAR headers)
    list(FILTER headers INCLUDE REGEX "\\.h$")
    target_compile_options(${target} PRIVATE -w)
    # Every generated source includes these, and they take most of its compile time.
    target_precompile_headers(${target} PRIVATE
        <google/protobuf/descriptor.h>
        <google/protobuf/extension_set.h>
        <google/protobuf/generated_message_reflection.h>
        <google/protobuf/generated_message_tctable_impl.h>
        <google/protobuf/map.h>
        <google/protobuf/wire_format.h>)
    target_include_directories(${target} SYSTEM PUBLIC $<BUILD_INTERFACE:${generated}>)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${generated} FILES ${headers})
    # Generated sources reuse names of static variables, so they cannot be combined into one source.
    set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
    target_link_libraries(${target} PUBLIC protobuf::libprotobuf)
endfunction()
