# Takes pcommon, pmsg and prpc out of the installed tree FROM into a prefix of their own, NEIGHBOURS, builds SOURCE
# against them and installs it to TREE: it must bring none of its own.

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
    message(FATAL_ERROR "libtarnwick is wanted and nothing of its neighbours, but these were installed: ${own}")
endif()
