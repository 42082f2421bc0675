# Options of tests and of their common libraries.
function(tarnwick_test_sources target)
    tarnwick_own_sources(${target})
    # Optimising the tests takes longer than running them, except those that run millions of times.
    if(NOT TARNWICK_FUZZ)
        target_compile_options(${target} PRIVATE -O0)
    endif()
    tarnwick_fewer_checks(${target})
    if(TARNWICK_SANITIZE MATCHES "address|thread")
        target_compile_definitions(${target} PRIVATE TARNWICK_SANITIZED)
    endif()
    # Reports of sanitizers name the functions of tests without it.
    if(TARNWICK_SANITIZE MATCHES address)
        target_compile_options(${target} PRIVATE -g0)
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
# searched deeper). The cases run in a random order, since none may depend on another. With SHARDS n, n tests run in
# parallel, each with its share of the cases. With ONLY sanitizer, or IF option, other builds neither compile nor run it,
# but lint reads it.
function(tarnwick_test name)
    cmake_parse_arguments(test "" "SHARDS;ONLY;IF" "" ${ARGN})
    set(sources "")
    foreach(folder IN LISTS test_UNPARSED_ARGUMENTS)
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
    if((test_ONLY AND NOT TARNWICK_SANITIZE MATCHES "${test_ONLY}") OR (test_IF AND NOT ${test_IF}))
        set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    elseif(NOT test_SHARDS)
        add_test(NAME ${name} COMMAND ${name} --gtest_shuffle --gtest_brief=1)
    else()
        foreach(number RANGE 1 ${test_SHARDS})
            math(EXPR index "${number} - 1")
            add_test(NAME ${name}.${number} COMMAND ${name} --gtest_shuffle --gtest_brief=1)
            set_tests_properties(${name}.${number} PROPERTIES
                COST 100 # the longest tests start first
                ENVIRONMENT "GTEST_TOTAL_SHARDS=${test_SHARDS};GTEST_SHARD_INDEX=${index}")
        endforeach()
    endif()
endfunction()

# Takes sources whose paths match a regular expression from a target.
function(tarnwick_without_sources target regex)
    get_target_property(sources ${target} SOURCES)
    list(FILTER sources EXCLUDE REGEX ${regex})
    set_target_properties(${target} PROPERTIES SOURCES "${sources}")
endfunction()
