# Finds what the project calls. Everything that is missing or too old is named at once, with the version wanted and the
# Debian package that brings it.

set(tarnwick_missing "")

# tarnwick_need(FOUND WANTED DEBIAN_PACKAGE [version found]): notes a dependency that was not found.
macro(tarnwick_need found wanted debian_package)
    if(NOT ${found})
        string(APPEND tarnwick_missing "\n  ${wanted} (Debian: ${debian_package})")
        if(NOT "${ARGN}" STREQUAL "")
            string(APPEND tarnwick_missing "; found ${ARGN}, which is too old")
        endif()
    endif()
endmacro()

macro(tarnwick_find package version wanted debian_package)
    find_package(${package} ${version} QUIET CONFIG ${ARGN})
    tarnwick_need(${package}_FOUND "${wanted} ${version} or later" ${debian_package} ${${package}_CONSIDERED_VERSIONS})
endmacro()

tarnwick_find(Qt6 6.8 "Qt 6 Core" qt6-base-dev COMPONENTS Core)
tarnwick_find(fmt 10 "{fmt}" libfmt-dev)

# The version that protobuf's CMake package gives itself differs from release to release, the headers' does not.
include(TarnwickProtobuf)
tarnwick_find_protobuf(tarnwick_protobuf_found tarnwick_protobuf_version)
tarnwick_need(tarnwick_protobuf_found "Protocol Buffers 29 or later" "libprotobuf-dev, protobuf-compiler"
    ${tarnwick_protobuf_version})

# ZeroMQ comes with a pkg-config file and no CMake package.
find_package(PkgConfig QUIET)
tarnwick_need(PkgConfig_FOUND "pkg-config" pkgconf)
if(PkgConfig_FOUND)
    pkg_check_modules(libzmq QUIET IMPORTED_TARGET GLOBAL libzmq>=4.3)
    tarnwick_need(libzmq_FOUND "ZeroMQ 4.3 or later" libzmq3-dev)
endif()

if(TARNWICK_BUILD_PROGRAM)
    tarnwick_find(CLI11 2.3 "CLI11" libcli11-dev)
    tarnwick_find(RapidJSON 1.1 "RapidJSON" rapidjson-dev)
endif()
if(TARNWICK_BUILD_TESTS)
    tarnwick_find(GTest 1.12 "GoogleTest with GoogleMock" "libgtest-dev, libgmock-dev")
endif()
if(TARNWICK_BUILD_BENCHMARKS)
    tarnwick_find(benchmark 1.7 "Google Benchmark" libbenchmark-dev)
endif()

if(tarnwick_missing)
    message(FATAL_ERROR "Missing to build tarnwick:${tarnwick_missing}\n"
        "./dev build needs none of them installed: it brings its own toolchain.")
endif()
