# GoogleTest programs and their CTest entries.
#
# CTest gets one entry per test suite rather than per case: a process for each of some thousand cases costs more than the
# cases. The cases of a suite with "Failure" in their name make a second entry with the additional label `error`.
# The suites are read from the program when ctest starts.
find_package(GTest REQUIRED)
find_package(Threads REQUIRED)

# tavi_test_settings(<target>): how every test program is compiled and what it links.
function(tavi_test_settings target)
  tavi_target_settings(${target} ARCH "${TAVI_ARCH}")
  tavi_quick_options(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/TaviOperators/src)
  target_link_libraries(${target} PRIVATE TaviOperatorTable tavi_core_instances tavi_highway GTest::gmock
                                          Threads::Threads)
endfunction()

# Owns the headers that are precompiled for all test programs.
file(WRITE ${PROJECT_BINARY_DIR}/generated/TestHeaders.cpp "")
add_executable(tavi_test_headers EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/generated/TestHeaders.cpp)
tavi_test_settings(tavi_test_headers)
target_link_libraries(tavi_test_headers PRIVATE GTest::gtest_main)
tavi_precompile(tavi_test_headers <gmock/gmock.h> <gtest/gtest.h> <DLL/Operator.hpp> <Impl/Frame/Instances.hpp> <Operator.hpp>
                ${TAVI_CORE_INSTANCES}.hpp)

# What most tests share; among it is a global allocator that fails and counts.
add_library(tavi_test_support STATIC EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tests/support/FailingAllocation.cpp
                                                      ${PROJECT_SOURCE_DIR}/tests/support/Volumes.cpp)
tavi_test_settings(tavi_test_support)

# tavi_add_test_program(<target> LABEL <label> SOURCES <source>...)
function(tavi_add_test_program target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL" "SOURCES")
  add_executable(${target} ${arg_SOURCES})
  tavi_test_settings(${target})
  target_link_libraries(${target} PRIVATE tavi_test_support GTest::gtest_main)
  tavi_share_precompiled(${target} tavi_test_headers)

  set(include_file ${CMAKE_CURRENT_BINARY_DIR}/${target}_suites.cmake)
  file(
    GENERATE
    OUTPUT ${include_file}
    CONTENT
      "set(program \"$<TARGET_FILE:${target}>\")
set(label \"${arg_LABEL}\")
set(entries \"${CMAKE_CURRENT_BINARY_DIR}/${target}_entries.cmake\")
set(work_dir \"${CMAKE_CURRENT_BINARY_DIR}/work\")
include(\"${PROJECT_SOURCE_DIR}/cmake/TestSuites.cmake\")
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${include_file})
endfunction()
