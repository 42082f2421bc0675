# Installs the super-project in BUILD to TREE: its own program is all that may come.

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

file(REMOVE_RECURSE ${TREE})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${TREE})
file(GLOB_RECURSE installed RELATIVE ${TREE} ${TREE}/*)
if(NOT installed STREQUAL "bin/consumer")
    message(FATAL_ERROR "The super-project installs bin/consumer; installed were: ${installed}")
endif()
