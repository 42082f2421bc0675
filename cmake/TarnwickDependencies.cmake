# Finds the project's dependencies. Reports everything that is missing or too old at once, with the version wanted, the
# version found and the Debian package.

set(tarnwick_missing "")

# tarnwick_need(FOUND WANTED DEBIAN_PACKAGE VERSION_FOUND): records a dependency that is missing. VERSION_FOUND is the
# version found instead, or empty.
function(tarnwick_need found wanted debian_package version_found)
    if(NOT found)
        string(APPEND tarnwick_missing "\n  ${wanted} (Debian: ${debian_package})")
        if(version_found)
            string(APPEND tarnwick_missing ": ${version_found} is too old")
        endif()
        set(tarnwick_missing "${tarnwick_missing}" PARENT_SCOPE)
    endif()
endfunction()

macro(tarnwick_find package version wanted debian_package)
    find_package(${package} ${version} QUIET CONFIG ${ARGN})
    # A package of the right version can still lack a part that it needs.
    set(tarnwick_too_old "")
    foreach(tarnwick_version IN LISTS ${package}_CONSIDERED_VERSIONS)
        if(tarnwick_version VERSION_LESS ${version})
            set(tarnwick_too_old ${tarnwick_version})
        endif()
    endforeach()
    tarnwick_need("${${package}_FOUND}" "${wanted} ${version} or later" "${debian_package}" "${tarnwick_too_old}")
endmacro()

tarnwick_find(Qt6 6.8 "Qt 6 Core" qt6-base-dev COMPONENTS Core)
tarnwick_find(fmt 10 "{fmt}" libfmt-dev)

include(TarnwickProtobuf)
tarnwick_find_protobuf(tarnwick_protobuf_found tarnwick_protobuf_version)
tarnwick_need("${tarnwick_protobuf_found}" "Protocol Buffers 29 or later with its compiler protoc"
    "libprotobuf-dev, protobuf-compiler" "${tarnwick_protobuf_version}")

# ZeroMQ comes with a pkg-config file and no CMake package.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(libzmq QUIET IMPORTED_TARGET GLOBAL libzmq>=4.3)
    if(NOT libzmq_FOUND)
        pkg_check_modules(tarnwick_old_libzmq QUIET libzmq)
    endif()
    tarnwick_need("${libzmq_FOUND}" "ZeroMQ 4.3 or later" libzmq3-dev "${tarnwick_old_libzmq_VERSION}")
else()
    tarnwick_need(FALSE "pkg-config, to find ZeroMQ 4.3 or later" "pkgconf, libzmq3-dev" "")
endif()

# For a library that has a pkg-config file, and that the program can be built without.
macro(tarnwick_find_module module version wanted option debian_package)
    if(PkgConfig_FOUND)
        pkg_check_modules(${module} QUIET IMPORTED_TARGET GLOBAL ${module}>=${version})
    endif()
    tarnwick_need("${${module}_FOUND}" "${wanted} ${version} or later, or -D${option}=OFF" ${debian_package} "")
endmacro()

if(TARNWICK_BUILD_PROGRAM)
    tarnwick_find(CLI11 2.4 "CLI11" libcli11-dev)
    if(TARNWICK_NATS)
        tarnwick_find_module(libnats 3.7 "NATS client" TARNWICK_NATS libnats-dev)
    endif()
    if(TARNWICK_SQLITE)
        tarnwick_find_module(sqlite3 3.40 "SQLite" TARNWICK_SQLITE libsqlite3-dev)
    endif()
    if(TARNWICK_JEMALLOC AND NOT TARNWICK_SANITIZE)
        tarnwick_find_module(jemalloc 5.2 "jemalloc" TARNWICK_JEMALLOC libjemalloc-dev)
    endif()
endif()
if(TARNWICK_BUILD_TESTS)
    tarnwick_find(GTest 1.12 "GoogleTest with GoogleMock" "libgtest-dev, libgmock-dev")
endif()
if(TARNWICK_BUILD_BENCHMARKS)
    tarnwick_find(benchmark 1.8 "Google Benchmark" libbenchmark-dev)
    tarnwick_find(nlohmann_json 3.11 "JSON for Modern C++" nlohmann-json3-dev)
    if(PkgConfig_FOUND)
        pkg_check_modules(inih QUIET IMPORTED_TARGET GLOBAL inih)
        pkg_check_modules(glib QUIET IMPORTED_TARGET GLOBAL glib-2.0)
    endif()
    tarnwick_need("${inih_FOUND}" "inih" libinih-dev "")
    tarnwick_need("${glib_FOUND}" "GLib" libglib2.0-dev "")
endif()

if(tarnwick_missing)
    message(FATAL_ERROR "Missing to build tarnwick:${tarnwick_missing}\n"
        "./dev build needs none of them installed: it brings its own toolchain.")
endif()
