# Copies pcommon, pmsg and prpc from the installed tree FROM to a separate prefix NEIGHBOURS, builds SOURCE with them
# and installs it to TREE, which must have no copy of them.

include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

file(REMOVE_RECURSE ${NEIGHBOURS} ${TREE})
file(GLOB libraries ${FROM}/${LIBDIR}/libpcommon.so* ${FROM}/${LIBDIR}/libpmsg.so* ${FROM}/${LIBDIR}/libprpc.so*)
file(COPY ${libraries} DESTINATION ${NEIGHBOURS}/lib)
file(COPY ${FROM}/include/pcommon ${FROM}/include/zeromq ${FROM}/include/pelorin DESTINATION ${NEIGHBOURS}/include)
file(COPY ${FROM}/include/tarnwick/rpc DESTINATION ${NEIGHBOURS}/include/tarnwick)

run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE} -B ${BUILD} ${OPTIONS} -DCMAKE_PREFIX_PATH=${NEIGHBOURS}
    -DTARNWICK_BUNDLED_PCOMMON=OFF -DTARNWICK_BUNDLED_PMSG=OFF -DTARNWICK_BUNDLED_PRPC=OFF
    -DTARNWICK_BUILD_PROGRAM=OFF -DTARNWICK_BUILD_TESTS=OFF -DTARNWICK_BUILD_EXAMPLES=OFF
    -DCMAKE_INSTALL_LIBDIR=lib)
run(${CMAKE_COMMAND} --build ${BUILD} --parallel 2)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${TREE})

file(GLOB_RECURSE own RELATIVE ${TREE} ${TREE}/*)
list(FILTER own INCLUDE REGEX "pcommon|pmsg|prpc|^include/(zeromq|pelorin|tarnwick/rpc)/")
if(NOT EXISTS ${TREE}/lib/libtarnwick.so OR own)
    message(FATAL_ERROR "The tree must have libtarnwick and none of its neighbours. Installed neighbours: ${own}")
endif()
