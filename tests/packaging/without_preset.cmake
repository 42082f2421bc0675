# Configures SOURCE into BUILD without a preset, as package maintainers do. Warnings must not be errors, and no test may
# compare instruction counts.

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

file(REMOVE_RECURSE ${BUILD})
run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE} -B ${BUILD} ${OPTIONS} -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_EXPORT_COMPILE_COMMANDS=ON)
run(${CMAKE_CTEST_COMMAND} --test-dir ${BUILD} --show-only)
if(NOT output MATCHES ": tarnwick_tests\n" OR output MATCHES ": costs\\.")
    message(SEND_ERROR "The tests must include all but costs.*:\n${output}")
endif()
file(READ ${BUILD}/compile_commands.json commands)
if(NOT commands MATCHES "-Wextra" OR commands MATCHES "-Werror")
    message(SEND_ERROR "Warnings must be on, but not errors: ${BUILD}/compile_commands.json")
endif()
