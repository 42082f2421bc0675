# Tests the installed tree, after a move to another folder, and three ways to use the library.

set(tree ${work}/tree/moved)
set(libraries ${tree}/${CMAKE_INSTALL_LIBDIR})
set(without_neighbours ${work}/tree/without_neighbours)
# Two tests build the library again. A unity build takes a fraction of the time.
set(compiler -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER} -DCMAKE_CXX_FLAGS=-O0
    -DCMAKE_UNITY_BUILD=ON -DCMAKE_UNITY_BUILD_BATCH_SIZE=0)

# Packagers omit the RUNPATH, because a system's loader knows its library folder.
set(has_runpath ON)
if(CMAKE_SKIP_RPATH OR CMAKE_SKIP_INSTALL_RPATH)
    set(has_runpath OFF)
endif()

add_test(NAME packaging.installed_tree_is_complete_and_can_be_moved COMMAND ${CMAKE_COMMAND}
    -DSOURCE=${PROJECT_SOURCE_DIR} -DBUILD=${CMAKE_BINARY_DIR} -DCONFIG=$<CONFIG>
    -DPREFIX=${CMAKE_INSTALL_PREFIX} -DFIRST_PLACE=${work}/tree/installed -DTREE=${tree}
    -DLIBDIR=${CMAKE_INSTALL_LIBDIR} -DVERSION=${PROJECT_VERSION} -DPROGRAM=${TARNWICK_BUILD_PROGRAM}
    -DRUNPATH=${has_runpath}
    -P ${here}/installed_tree.cmake)
set_tests_properties(packaging.installed_tree_is_complete_and_can_be_moved PROPERTIES FIXTURES_SETUP installed_tree)

# Configures, builds and runs a consumer with CMake.
function(tarnwick_consumer name source)
    add_test(NAME packaging.consumer.${name} COMMAND ${CMAKE_CTEST_COMMAND}
        --build-and-test ${source} ${work}/consumer/${name} --build-generator ${CMAKE_GENERATOR} --build-noclean
        --build-options ${compiler} ${ARGN}
        --test-command consumer)
endfunction()

tarnwick_consumer(find_package ${here}/find_package -DCMAKE_PREFIX_PATH=${tree})
add_test(NAME packaging.consumer.pkg_config
    COMMAND ${here}/pkg_config/build.sh ${CMAKE_CXX_COMPILER} ${here}/consumer/main.cpp ${work}/consumer/pkg_config)
set_tests_properties(packaging.consumer.pkg_config PROPERTIES
    ENVIRONMENT "PKG_CONFIG_PATH=${libraries}/pkgconfig;LD_LIBRARY_PATH=${libraries}")
add_test(NAME packaging.page_on_using_the_library_can_be_followed
    COMMAND ${here}/using_the_library.sh ${PROJECT_SOURCE_DIR}/docs/using-the-library.md ${tree} ${CMAKE_INSTALL_LIBDIR}
        ${work}/using_the_library)
set_tests_properties(packaging.page_on_using_the_library_can_be_followed PROPERTIES COST 60)
set_tests_properties(
    packaging.consumer.find_package
    packaging.consumer.pkg_config
    packaging.page_on_using_the_library_can_be_followed
    PROPERTIES FIXTURES_REQUIRED installed_tree)
# Without a RUNPATH, a program finds only the libraries that it is linked with itself.
if(NOT has_runpath)
    set_tests_properties(packaging.page_on_using_the_library_can_be_followed PROPERTIES
        ENVIRONMENT LD_LIBRARY_PATH=${libraries})
endif()
tarnwick_refusal(installed_package_with_old_protobuf SOURCE ${here}/find_package
    OPTIONS -DCMAKE_PREFIX_PATH=${tree} -Dprotobuf_DIR=${old_protobuf}
    MESSAGES "Protocol Buffers 29 or later is wanted, 3.21.12 was found.")
set_tests_properties(packaging.refusal.installed_package_with_old_protobuf PROPERTIES FIXTURES_REQUIRED installed_tree)

# The messages are those of the installed tree: to compile them again takes most of the time and shows nothing new.
tarnwick_consumer(add_subdirectory ${here}/add_subdirectory -DCMAKE_PREFIX_PATH=${tree}
    -DTARNWICK_BUNDLED_PMSG=OFF -DTARNWICK_BUNDLED_PRPC=OFF)
set_tests_properties(packaging.consumer.add_subdirectory PROPERTIES
    FIXTURES_REQUIRED installed_tree FIXTURES_SETUP super_project COST 90)
add_test(NAME packaging.sub_project_builds_the_libraries_alone
    COMMAND ${CMAKE_COMMAND} -G ${CMAKE_GENERATOR} -S ${here}/add_subdirectory -B ${work}/consumer/only_configured
        ${compiler})
add_test(NAME packaging.sub_project_installs_nothing COMMAND ${CMAKE_COMMAND}
    -DBUILD=${work}/consumer/add_subdirectory -DTREE=${work}/tree/super_project
    -P ${here}/sub_project.cmake)
set_tests_properties(packaging.sub_project_installs_nothing PROPERTIES FIXTURES_REQUIRED super_project)

add_test(NAME packaging.neighbours_can_be_replaced_by_installed_ones COMMAND ${CMAKE_COMMAND}
    "-DGENERATOR=${CMAKE_GENERATOR}" "-DOPTIONS=${compiler}"
    -DSOURCE=${PROJECT_SOURCE_DIR} -DBUILD=${work}/without_neighbours -DFROM=${tree} -DLIBDIR=${CMAKE_INSTALL_LIBDIR}
    -DNEIGHBOURS=${work}/tree/neighbours -DTREE=${without_neighbours}
    -P ${here}/neighbours.cmake)
set_tests_properties(packaging.neighbours_can_be_replaced_by_installed_ones PROPERTIES
    FIXTURES_REQUIRED installed_tree FIXTURES_SETUP without_neighbours COST 90)
tarnwick_consumer(find_package_with_installed_neighbours ${here}/find_package
    "-DCMAKE_PREFIX_PATH=${without_neighbours}\\;${work}/tree/neighbours")
tarnwick_refusal(installed_package_without_neighbours SOURCE ${here}/find_package
    OPTIONS -DCMAKE_PREFIX_PATH=${without_neighbours}
    MESSAGES "No installed libpcommon was found")
set_tests_properties(
    packaging.consumer.find_package_with_installed_neighbours
    packaging.refusal.installed_package_without_neighbours
    PROPERTIES FIXTURES_REQUIRED "installed_tree;without_neighbours")
