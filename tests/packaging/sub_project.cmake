# Installs the super-project in BUILD to TREE, which must install only its own program.

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

file(REMOVE_RECURSE ${TREE})
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${TREE})
file(GLOB_RECURSE installed RELATIVE ${TREE} ${TREE}/*)
if(NOT installed STREQUAL "bin/consumer")
    message(FATAL_ERROR "The super-project must install only bin/consumer. Installed: ${installed}")
endif()
