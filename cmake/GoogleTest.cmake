# Tests are mostly expectations: optimising them, and checking them for undefined behaviour, costs more time than it saves.
# What they test is optimised, and checked.
set(MV_TEST_OPTIONS -O0)
if(MV_SANITIZE)
  list(APPEND MV_TEST_OPTIONS -fno-sanitize=undefined)
endif()

# MV_TEST_LAUNCHER: what runs the compiler for tests. Clang takes half the time of GCC for them, which writes three times the
# object code for Windows; so where it is installed it compiles the tests for 64-bit Windows. What they test is GCC's work, as
# it is for users.
set(MV_TEST_LAUNCHER ${CMAKE_CXX_COMPILER_LAUNCHER})
if(MINGW AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  find_program(MV_CLANG clang++)
endif()
if(MV_CLANG)
  list(PREPEND MV_TEST_LAUNCHER ${CMAKE_SOURCE_DIR}/tools/clang-for-gcc ${CMAKE_CXX_COMPILER})
endif()

# Google Test: the installed library for a native build, with sanitizers too, which look at what is tested; for a cross build
# its Debian source package is built along. Without either the programs are built all the same, and no tests.
set(MV_GTEST_SOURCE /usr/src/googletest CACHE PATH "Google Test sources, used when no built library fits")

if(NOT CMAKE_CROSSCOMPILING)
  find_package(GTest QUIET)
endif()
if(NOT TARGET GTest::gmock_main AND EXISTS ${MV_GTEST_SOURCE}/CMakeLists.txt)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(${MV_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  foreach(target gtest gtest_main gmock gmock_main)
    target_compile_options(${target} PRIVATE -w ${MV_TEST_OPTIONS})
    set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER "${MV_TEST_LAUNCHER}")
    get_target_property(folders ${target} INTERFACE_INCLUDE_DIRECTORIES)
    set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${folders}")
  endforeach()
  if(NOT TARGET GTest::gmock_main)
    add_library(GTest::gtest ALIAS gtest)
    add_library(GTest::gmock ALIAS gmock)
    add_library(GTest::gmock_main ALIAS gmock_main)
  endif()
endif()

if(NOT TARGET GTest::gmock_main)
  message(STATUS "Google Test is not installed: tests are not built")
endif()

# The headers that all tests use, compiled once for all test programs.
if(TARGET GTest::gmock_main AND NOT MV_FUZZ)
  set(source ${CMAKE_BINARY_DIR}/TestHeaders.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "")
  add_library(mv_test_headers OBJECT EXCLUDE_FROM_ALL ${source})
  target_link_libraries(mv_test_headers PRIVATE GTest::gmock_main)
  target_compile_options(mv_test_headers PRIVATE ${MV_TEST_OPTIONS})
  set_target_properties(mv_test_headers PROPERTIES CXX_COMPILER_LAUNCHER "${MV_TEST_LAUNCHER}")
  target_precompile_headers(mv_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h> <functional> <map> <memory> <optional>
                                                    <string> <variant> <vector>)
endif()
