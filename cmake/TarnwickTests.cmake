# Options of tests and of their common libraries.
function(tarnwick_test_sources target)
    tarnwick_own_sources(${target})
    # Optimising the tests takes longer than running them, except those that run millions of times.
    if(NOT TARNWICK_FUZZ)
        target_compile_options(${target} PRIVATE -O0)
    endif()
endfunction()

# Reuses the precompiled headers of tarnwick_tests. This requires its options, and that it is built first, which fuzzers
# do not want.
function(tarnwick_test_headers target)
    if(NOT TARNWICK_FUZZ)
        target_precompile_headers(${target} REUSE_FROM tarnwick_tests)
    endif()
endfunction()

# tarnwick_test(NAME FOLDER...): one executable, and one test, of all *_test.cpp in the folders of tests/ (`.` is not
# searched deeper). The cases run in a random order, since none may depend on another.
function(tarnwick_test name)
    set(sources "")
    foreach(folder IN LISTS ARGN)
        if(folder STREQUAL ".")
            file(GLOB found CONFIGURE_DEPENDS *_test.cpp)
        else()
            file(GLOB_RECURSE found CONFIGURE_DEPENDS ${folder}/*_test.cpp)
        endif()
        list(APPEND sources ${found})
    endforeach()
    add_executable(${name} ${sources})
    tarnwick_test_sources(${name})
    target_link_libraries(${name} PRIVATE GTest::gmock GTest::gtest_main)
    add_test(NAME ${name} COMMAND ${name} --gtest_shuffle --gtest_brief=1)
endfunction()
