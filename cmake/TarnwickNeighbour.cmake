# tarnwick_installed_neighbour(NAME HEADER DEPENDENCY): the target Tarnwick::NAME for an installed lib<NAME>.so that
# brings HEADER. Used at configure time for a library that is not built here, and by the installed package for the same.
function(tarnwick_installed_neighbour name header dependency)
    string(TOUPPER ${name} upper)
    find_path(${upper}_INCLUDE_DIR ${header})
    find_library(${upper}_LIBRARY ${name})
    if(NOT ${upper}_INCLUDE_DIR OR NOT ${upper}_LIBRARY)
        message(FATAL_ERROR "No installed lib${name} was found: lib${name}.so and <${header}> are wanted. "
            "Name their prefix in CMAKE_PREFIX_PATH, or set TARNWICK_BUNDLED_${upper}=ON to build it here.")
    endif()
    if(NOT TARGET Tarnwick::${name})
        add_library(Tarnwick::${name} SHARED IMPORTED GLOBAL)
        set_target_properties(Tarnwick::${name} PROPERTIES
            IMPORTED_LOCATION ${${upper}_LIBRARY}
            INTERFACE_INCLUDE_DIRECTORIES ${${upper}_INCLUDE_DIR}
            INTERFACE_LINK_LIBRARIES ${dependency})
    endif()
endfunction()
