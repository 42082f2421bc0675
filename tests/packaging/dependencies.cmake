# Messages of configure runs that miss a dependency. Each row is a configure run that must fail.

include(CMakePackageConfigHelpers)

# tarnwick_refusal(NAME SOURCE folder OPTIONS option... [ENVIRONMENT NAME=value...] MESSAGES text...)
function(tarnwick_refusal name)
    cmake_parse_arguments(row "" SOURCE "OPTIONS;ENVIRONMENT;MESSAGES" ${ARGN})
    add_test(NAME packaging.refusal.${name} COMMAND ${CMAKE_COMMAND}
        "-DGENERATOR=${CMAKE_GENERATOR}" "-DSOURCE=${row_SOURCE}" "-DBUILD=${work}/refusal/${name}"
        "-DOPTIONS=-DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER};${row_OPTIONS}" "-DMESSAGES=${row_MESSAGES}"
        -P ${here}/refusal.cmake)
    set_tests_properties(packaging.refusal.${name} PROPERTIES ENVIRONMENT "${row_ENVIRONMENT}")
endfunction()

# The message must have exactly these lines.
function(tarnwick_dependency_refusal name)
    cmake_parse_arguments(row "" "" "OPTIONS;ENVIRONMENT;LINES" ${ARGN})
    list(JOIN row_LINES " " lines)
    tarnwick_refusal(${name} SOURCE ${PROJECT_SOURCE_DIR} OPTIONS ${row_OPTIONS} ENVIRONMENT ${row_ENVIRONMENT}
        MESSAGES "Missing to build tarnwick: ${lines} ./dev build")
endfunction()

# Creates a prefix with a package that has only an old version. The options make CMake ignore the real package, even if
# /lib is a link to /usr/lib.
function(tarnwick_old_package package version options_variable)
    set(folder ${work}/old/${package}/lib/cmake/${package})
    file(WRITE ${folder}/${package}Config.cmake "message(FATAL_ERROR \"A package that is too old was loaded\")\n")
    write_basic_package_version_file(${folder}/${package}ConfigVersion.cmake
        VERSION ${version} COMPATIBILITY AnyNewerVersion)
    set(${options_variable} -DCMAKE_PREFIX_PATH=${work}/old/${package}
        -DCMAKE_IGNORE_PATH=${${package}_DIR} -DCMAKE_IGNORE_PREFIX_PATH=/ PARENT_SCOPE)
endfunction()
tarnwick_old_package(Qt6 6.4.0 old_qt)
tarnwick_old_package(fmt 9.1.0 old_fmt)

set(old_protobuf ${work}/old/protobuf/lib/cmake/protobuf)
file(WRITE ${old_protobuf}/protobuf-config.cmake "
    add_library(protobuf::libprotobuf INTERFACE IMPORTED)
    target_include_directories(protobuf::libprotobuf INTERFACE ${work}/old/protobuf/include)\n")
file(WRITE ${work}/old/protobuf/include/google/protobuf/stubs/common.h "#define GOOGLE_PROTOBUF_VERSION 3021012\n")
file(WRITE ${work}/old/pkgconfig/libzmq.pc "Name: libzmq\nDescription: old\nVersion: 4.2.5\n")

set(qt "Qt 6 Core 6.8 or later (Debian: qt6-base-dev)")
set(fmt "{fmt} 10 or later (Debian: libfmt-dev)")
set(protobuf "Protocol Buffers 29 or later with its compiler protoc (Debian: libprotobuf-dev, protobuf-compiler)")
set(zeromq "ZeroMQ 4.3 or later (Debian: libzmq3-dev)")
set(nats "NATS client 3.7 or later, or -DTARNWICK_NATS=OFF (Debian: libnats-dev)")
set(sqlite "SQLite 3.40 or later, or -DTARNWICK_SQLITE=OFF (Debian: libsqlite3-dev)")
set(jemalloc "jemalloc 5.2 or later, or -DTARNWICK_JEMALLOC=OFF (Debian: libjemalloc-dev)")

tarnwick_dependency_refusal(no_qt OPTIONS -DCMAKE_DISABLE_FIND_PACKAGE_Qt6=ON LINES ${qt})
tarnwick_dependency_refusal(no_fmt OPTIONS -DCMAKE_DISABLE_FIND_PACKAGE_fmt=ON LINES ${fmt})
tarnwick_dependency_refusal(no_protobuf OPTIONS -DCMAKE_DISABLE_FIND_PACKAGE_protobuf=ON LINES ${protobuf})
# CMake searches programs in an empty folder, except the ones named here.
tarnwick_dependency_refusal(no_protoc LINES ${protobuf}
    OPTIONS -DCMAKE_FIND_ROOT_PATH=${work}/none -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=ONLY
        -DCMAKE_MAKE_PROGRAM=${CMAKE_MAKE_PROGRAM} -DPKG_CONFIG_EXECUTABLE=${PKG_CONFIG_EXECUTABLE})
tarnwick_dependency_refusal(no_zeromq ENVIRONMENT PKG_CONFIG_LIBDIR=${work}/none PKG_CONFIG_PATH=
    LINES ${zeromq} ${nats} ${sqlite} ${jemalloc})
tarnwick_dependency_refusal(no_pkg_config OPTIONS -DCMAKE_DISABLE_FIND_PACKAGE_PkgConfig=ON
    LINES "pkg-config, to find ZeroMQ 4.3 or later (Debian: pkgconf, libzmq3-dev)" ${nats} ${sqlite} ${jemalloc})
tarnwick_dependency_refusal(old_qt OPTIONS ${old_qt} LINES "${qt}: 6.4.0 is too old")
tarnwick_dependency_refusal(old_fmt OPTIONS ${old_fmt} LINES "${fmt}: 9.1.0 is too old")
tarnwick_dependency_refusal(old_protobuf OPTIONS -Dprotobuf_DIR=${old_protobuf} LINES "${protobuf}: 3.21.12 is too old")
tarnwick_dependency_refusal(old_zeromq OPTIONS -DTARNWICK_NATS=OFF -DTARNWICK_SQLITE=OFF -DTARNWICK_JEMALLOC=OFF ENVIRONMENT PKG_CONFIG_LIBDIR=${work}/old/pkgconfig PKG_CONFIG_PATH=
    LINES "${zeromq}: 4.2.5 is too old")
tarnwick_dependency_refusal(everything_at_once
    OPTIONS ${old_qt}
        -DCMAKE_DISABLE_FIND_PACKAGE_fmt=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_protobuf=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_benchmark=ON
        -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON
        -DTARNWICK_BUILD_BENCHMARKS=ON
    ENVIRONMENT PKG_CONFIG_LIBDIR=${work}/none PKG_CONFIG_PATH=
    LINES "${qt}: 6.4.0 is too old" ${fmt} ${protobuf} ${zeromq}
        "CLI11 2.4 or later (Debian: libcli11-dev)" ${nats} ${sqlite} ${jemalloc}
        "GoogleTest with GoogleMock 1.12 or later (Debian: libgtest-dev, libgmock-dev)"
        "Google Benchmark 1.8 or later (Debian: libbenchmark-dev)"
        "JSON for Modern C++ 3.11 or later (Debian: nlohmann-json3-dev)"
        "inih (Debian: libinih-dev)"
        "GLib (Debian: libglib2.0-dev)")

tarnwick_refusal(no_installed_neighbours SOURCE ${PROJECT_SOURCE_DIR}
    OPTIONS -DTARNWICK_BUNDLED_PCOMMON=OFF -DTARNWICK_BUNDLED_PMSG=OFF -DTARNWICK_BUNDLED_PRPC=OFF
    MESSAGES "No installed libpcommon was found: libpcommon.so and <pcommon/plogger.h> are wanted."
        "set TARNWICK_BUNDLED_PCOMMON=ON to build it here"
        "No installed libpmsg was found: libpmsg.so and <pelorin/protobuf/PelorinPHP/zval.pb.h> are wanted."
        "No installed libprpc was found: libprpc.so and <tarnwick/rpc/php/v1/zval.pb.h> are wanted.")
