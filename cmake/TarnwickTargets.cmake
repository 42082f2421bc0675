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
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wredundant-decls)
    if(TARNWICK_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(TARNWICK_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # False positives about std::variant: instrumentation hides from g++ what an optimised build shows.
        target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)
endfunction()

# Leaves out checks of UndefinedBehaviorSanitizer that take a third of the compile time of tests and a tenth of that of
# the program. They also make the program half as large again. AddressSanitizer reports a null pointer and an access
# outside an object as well. The library has all checks, and so has the preset `fuzz`.
function(tarnwick_fewer_checks target)
    if(TARNWICK_SANITIZE MATCHES undefined AND NOT TARNWICK_FUZZ)
        target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment,object-size,vptr)
    endif()
endfunction()

# Links a program at fixed addresses if it is sanitized. The tests start the program more than a thousand times, and a
# tenth of the time of such a start relocates what the sanitizers added.
function(tarnwick_fixed_addresses target)
    if(TARNWICK_SANITIZE MATCHES address)
        target_link_options(${target} PRIVATE -no-pie)
    endif()
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

# In a unity build, compiles all generated sources of a library as one: most of their compile time is that of protobuf's
# headers. These names are static in each of them, so each source gets names of its own.
function(tarnwick_combine_messages target)
    set(names
        _static_init2_
        file_level_enum_descriptors
        file_level_service_descriptors
        file_message_globals
        file_reflection_data
        schemas)
    set(own_names "")
    foreach(name IN LISTS names)
        string(APPEND own_names "#define ${name} TARNWICK_JOIN(${name}, TARNWICK_SOURCE)\n")
    endforeach()
    set_target_properties(${target} PROPERTIES
        UNITY_BUILD_BATCH_SIZE 0
        UNITY_BUILD_UNIQUE_ID TARNWICK_SOURCE
        UNITY_BUILD_CODE_BEFORE_INCLUDE
            "#define TARNWICK_JOIN_(a, b) a##b\n#define TARNWICK_JOIN(a, b) TARNWICK_JOIN_(a, b)\n${own_names}")
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
    target_include_directories(${target} SYSTEM PUBLIC $<BUILD_INTERFACE:${generated}>)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${generated} FILES ${headers})
    if(CMAKE_UNITY_BUILD)
        tarnwick_combine_messages(${target})
    else()
        # Every generated source includes these, and they take most of its compile time.
        target_precompile_headers(${target} PRIVATE
            <google/protobuf/descriptor.h>
            <google/protobuf/extension_set.h>
            <google/protobuf/generated_message_reflection.h>
            <google/protobuf/generated_message_tctable_impl.h>
            <google/protobuf/map.h>
            <google/protobuf/wire_format.h>)
    endif()
    target_link_libraries(${target} PUBLIC protobuf::libprotobuf)
endfunction()
