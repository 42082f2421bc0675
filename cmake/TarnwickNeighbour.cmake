# tarnwick_installed_neighbour(NAME HEADER DEPENDENCY PROBLEM_VARIABLE): defines the target Tarnwick::NAME for an
# installed lib<NAME>.so that provides HEADER, or sets PROBLEM_VARIABLE to a sentence about what is missing. Used at
# configure time for a library that is not built here, and by the installed package for the same purpose.
function(tarnwick_installed_neighbour name header dependency problem_variable)
    string(TOUPPER ${name} upper)
    find_path(${upper}_INCLUDE_DIR ${header})
    find_library(${upper}_LIBRARY ${name})
    mark_as_advanced(${upper}_INCLUDE_DIR ${upper}_LIBRARY)
    set(${problem_variable} "" PARENT_SCOPE)
    if(NOT ${upper}_INCLUDE_DIR OR NOT ${upper}_LIBRARY)
        set(${problem_variable} "No installed lib${name} was found: lib${name}.so and <${header}> are wanted. \
Name their prefix in CMAKE_PREFIX_PATH" PARENT_SCOPE)
    elseif(NOT TARGET Tarnwick::${name})
        add_library(Tarnwick::${name} SHARED IMPORTED GLOBAL)
        set_target_properties(Tarnwick::${name} PROPERTIES
            IMPORTED_LOCATION ${${upper}_LIBRARY}
            INTERFACE_INCLUDE_DIRECTORIES ${${upper}_INCLUDE_DIR}
            INTERFACE_LINK_LIBRARIES ${dependency})
    endif()
endfunction()

# The same for the build. A missing library does not stop the run, so that all are reported.
function(tarnwick_take_installed name header dependency)
    tarnwick_installed_neighbour(${name} ${header} ${dependency} problem)
    if(problem)
        string(TOUPPER ${name} upper)
        message(SEND_ERROR "${problem}, or set TARNWICK_BUNDLED_${upper}=ON to build it here.")
    endif()
endfunction()
