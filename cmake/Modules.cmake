# The folder in which a module keeps what only this system's build compiles, and those that only others compile, as a
# regular expression; "qt" is built by WindowPart.cmake.
if(WIN32)
  set(MV_SYSTEM_FOLDER windows)
  set(MV_OTHER_FOLDERS "posix|qt")
else()
  set(MV_SYSTEM_FOLDER posix)
  set(MV_OTHER_FOLDERS "windows|win32|qt")
endif()

# mv_module(NAME [DEPENDS ...] [WINDOWS_LIBRARIES ...] [TEST_DEPENDS ...] [TEST_PARTS n]): the sources of src/NAME and of the folders
# in it as the library mv_NAME, and their *_test.cpp files as the test program NAME_tests. Not taken: folders of other
# systems, folders in folders, main.cpp files. WINDOWS_LIBRARIES: import libraries that its Windows folder needs.
# TEST_DEPENDS: modules that only the tests use, which may stand above this one. TEST_PARTS: as PARTS of mv_test.
function(mv_module name)
  cmake_parse_arguments(ARG "" "TEST_PARTS" "DEPENDS;WINDOWS_LIBRARIES;TEST_DEPENDS" ${ARGN})
  set(folder ${CMAKE_SOURCE_DIR}/src/${name})
  file(
    GLOB sources
    RELATIVE ${folder} CONFIGURE_DEPENDS
    ${folder}/*.cpp ${folder}/*/*.cpp)
  list(FILTER sources EXCLUDE REGEX "^(${MV_OTHER_FOLDERS})/")
  list(TRANSFORM sources PREPEND ${folder}/)
  set(tests ${sources})
  list(FILTER tests INCLUDE REGEX "_test\\.cpp$")
  list(FILTER sources EXCLUDE REGEX "(_test|/main)\\.cpp$")
  set(dependencies)
  foreach(dependency ${ARG_DEPENDS})
    list(APPEND dependencies mv_${dependency})
  endforeach()
  if(WIN32)
    list(APPEND dependencies ${ARG_WINDOWS_LIBRARIES})
  endif()
  if(sources)
    add_library(mv_${name} STATIC ${sources})
    target_include_directories(mv_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(mv_${name} PUBLIC ${dependencies})
  else()
    add_library(mv_${name} INTERFACE)
    target_include_directories(mv_${name} INTERFACE ${CMAKE_SOURCE_DIR}/src)
    target_link_libraries(mv_${name} INTERFACE ${dependencies})
  endif()
  if(tests)
    list(TRANSFORM ARG_TEST_DEPENDS PREPEND mv_)
    mv_test(${name}_tests PARTS ${ARG_TEST_PARTS} SOURCES ${tests} DEPENDS mv_${name} ${ARG_TEST_DEPENDS})
  endif()
endfunction()

# mv_unite_tests(UNITED NAME SOURCE...): the list UNITED gets the sources to compile for SOURCE...: these, or with
# MV_UNITE_TESTS one for every twelve of them.
function(mv_unite_tests united name)
  set(rest ${ARGN})
  list(LENGTH rest count)
  set(sources)
  while(rest AND MV_UNITE_TESTS AND count GREATER 1)
    list(SUBLIST rest 0 12 some)
    list(REMOVE_ITEM rest ${some})
    list(LENGTH sources number)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}_${number}.cpp)
    add_custom_command(
      OUTPUT ${source}
      COMMAND ${CMAKE_SOURCE_DIR}/tools/unite-tests ${source} ${some}
      DEPENDS ${some} ${CMAKE_SOURCE_DIR}/tools/unite-tests
      VERBATIM)
    list(APPEND sources ${source})
  endwhile()
  set(${united} ${sources} ${rest} PARENT_SCOPE)
endfunction()

# mv_test(NAME [PARTS n] SOURCES ... DEPENDS ...): a Google Test program; a cross build runs it through MV_TEST_RUNNER
# (Wine). PARTS: how many processes share its tests, when they take long. Each writes a report into the build folder's
# results. Not with MV_FUZZ.
function(mv_test name)
  cmake_parse_arguments(ARG "" "PARTS" "SOURCES;DEPENDS" ${ARGN})
  if(NOT ARG_PARTS)
    set(ARG_PARTS 1)
  endif()
  if(NOT TARGET GTest::gmock_main OR MV_FUZZ)
    return()
  endif()
  mv_unite_tests(sources ${name} ${ARG_SOURCES})
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} mv_testing GTest::gmock_main)
  target_compile_options(${name} PRIVATE ${MV_TEST_OPTIONS})
  target_link_options(${name} PRIVATE ${MV_TEST_LINK_OPTIONS})
  target_precompile_headers(${name} REUSE_FROM mv_test_headers)
  math(EXPR last "${ARG_PARTS} - 1")
  foreach(part RANGE ${last})
    add_test(NAME ${name}.${part} COMMAND ${MV_TEST_RUNNER} $<TARGET_FILE:${name}> WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
    set_tests_properties(
      ${name}.${part}
      PROPERTIES TIMEOUT 600 ENVIRONMENT
                 "GTEST_TOTAL_SHARDS=${ARG_PARTS};GTEST_SHARD_INDEX=${part};GTEST_OUTPUT=json:results/${name}.${part}.json")
  endforeach()
endfunction()
