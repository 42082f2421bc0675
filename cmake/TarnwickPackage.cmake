# Files that `cmake --install` installs: the libraries built here with their headers, the program, the .proto files, the
# CMake package Tarnwick and tarnwick.pc. No file contains the prefix, so an installed tree can be moved.

include(CMakePackageConfigHelpers)

set(tarnwick_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Tarnwick)

# One export set for each library: if one is replaced by an installed library, the others refer to it by name.
foreach(library IN ITEMS pcommon pmsg prpc tarnwick)
    if(TARGET ${library})
        set_property(TARGET ${library} APPEND PROPERTY INSTALL_RPATH $ORIGIN)
        install(TARGETS ${library} EXPORT tarnwick-${library} FILE_SET HEADERS)
        install(EXPORT tarnwick-${library} NAMESPACE Tarnwick:: DESTINATION ${tarnwick_package_folder})
    endif()
endforeach()

if(TARGET tarnwick_program)
    file(RELATIVE_PATH tarnwick_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_property(TARGET tarnwick_program APPEND PROPERTY INSTALL_RPATH $ORIGIN/${tarnwick_from_bin})
    install(TARGETS tarnwick_program)
    install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 FILES_MATCHING PATTERN *.1)
    install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 FILES_MATCHING PATTERN *.5)
    set(completions tools/tarnwick/completions)
    install(FILES ${completions}/tarnwick.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${completions}/_tarnwick DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install(FILES ${completions}/tarnwick.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()

install(FILES libs/tarnwick/gdb/tarnwick_gdb.py DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnwick/gdb)
install(DIRECTORY proto/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tarnwick/proto FILES_MATCHING PATTERN *.proto)

configure_package_config_file(cmake/TarnwickConfig.cmake.in TarnwickConfig.cmake
    INSTALL_DESTINATION ${tarnwick_package_folder}
    NO_SET_AND_CHECK_MACRO)
# Below 1.0, minor versions may be incompatible.
write_basic_package_version_file(TarnwickConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/TarnwickConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/TarnwickConfigVersion.cmake
    cmake/TarnwickNeighbour.cmake
    cmake/TarnwickProtobuf.cmake
    DESTINATION ${tarnwick_package_folder})

file(RELATIVE_PATH tarnwick_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH tarnwick_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH tarnwick_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
string(REGEX REPLACE "/$" "" tarnwick_prefix "${tarnwick_prefix}")
configure_file(cmake/tarnwick.pc.in tarnwick.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tarnwick.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
