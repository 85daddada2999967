# What every target of the house shares: where things land, how libraries are installed, how tests are added.

include(GNUInstallDirs)

option(VELK_BUILD_TESTS "Build the tests" ON)
option(VELK_BUILD_BENCHMARKS "Build the benchmarks" ON)

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(VELK_PLUGIN_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib/velk-mz/protocols)
set(VELK_INSTALL_PLUGINDIR ${CMAKE_INSTALL_LIBDIR}/velk-mz/protocols)
set(VELK_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/velk-mz)
set(CMAKE_VISIBILITY_INLINES_HIDDEN OFF)

# So that a build tree and an installed tree both find their libraries without LD_LIBRARY_PATH.
set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN/../..")

# velk_compile_together(TARGET [ALONE files...]): compiles several files at once, since most of the time of a small file
# goes into its headers. Files that share local names with others are compiled alone.
function(velk_compile_together target)
    cmake_parse_arguments(ARG "" "" "ALONE" ${ARGN})
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 10)
    set_source_files_properties(${ARG_ALONE} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# velk_install_library(TARGET): header file set, export name, version script of the house.
function(velk_install_library target)
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                                $<INSTALL_INTERFACE:${VELK_INSTALL_INCLUDEDIR}>)
    target_compile_features(${target} PUBLIC cxx_std_20)
    install(TARGETS ${target} EXPORT VelkPowerDistribution
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${VELK_INSTALL_INCLUDEDIR})
endfunction()

# velk_add_plugin(NAME SOURCES...): a protocol plug-in libvelk-mz-protocol-NAME.so beside the others.
function(velk_add_plugin name)
    add_library(plugin_${name} MODULE ${ARGN})
    set_target_properties(plugin_${name} PROPERTIES OUTPUT_NAME velk-mz-protocol-${name}
        LIBRARY_OUTPUT_DIRECTORY ${VELK_PLUGIN_OUTPUT_DIRECTORY})
    target_link_libraries(plugin_${name} PRIVATE Velk::powerdistribution)
    install(TARGETS plugin_${name} LIBRARY DESTINATION ${VELK_INSTALL_PLUGINDIR})
endfunction()

option(VELK_TESTS_WITH_THREADS_ONLY "Leave out the tests in which nothing runs in parallel" OFF)

# velk_add_test(NAME SOURCES... [SEQUENTIAL sources...] [ALONE sources...] LINK targets...): one GoogleTest program; each of
# its tests is a test of ctest. SEQUENTIAL: one thread only, so ThreadSanitizer has nothing to see in them. ALONE: local
# names that others of the program have too.
function(velk_add_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "LINK;LABELS;SEQUENTIAL;ALONE" ${ARGN})
    set(sources ${ARG_UNPARSED_ARGUMENTS})
    set(left_out "")
    if(NOT VELK_TESTS_WITH_THREADS_ONLY)
        list(APPEND sources ${ARG_SEQUENTIAL})
    elseif(NOT sources OR "no-threads" IN_LIST ARG_LABELS)
        # A target all the same, which others may refer to.
        set(left_out EXCLUDE_FROM_ALL)
        list(APPEND sources ${ARG_SEQUENTIAL})
    endif()
    add_executable(${name} ${left_out} ${sources})
    velk_compile_together(${name} ALONE ${ARG_ALONE})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    # The folders' archives may need each other in any order.
    set(folders ${ARG_LINK})
    list(FILTER folders INCLUDE REGEX "^pd_")
    set(others ${ARG_LINK})
    list(FILTER others EXCLUDE REGEX "^pd_")
    if(folders)
        list(JOIN folders "," folders)
        set(folders "$<LINK_GROUP:RESCAN,${folders}>")
    endif()
    target_link_libraries(${name} PRIVATE ${folders} ${others} GTest::gmock GTest::gtest_main ${CMAKE_DL_LIBS})
    # Tests are compiled more often than they run, so they are compiled fast.
    target_compile_options(${name} PRIVATE -O0 -g1)
    target_compile_definitions(${name} PRIVATE
        VELK_SOURCE_DIR="${PROJECT_SOURCE_DIR}" VELK_BINARY_DIR="${CMAKE_BINARY_DIR}")
    if(left_out)
        return()
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    include(GoogleTest)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} LABELS "${ARG_LABELS}")
endfunction()
