# The folder in which a module keeps what only this system's build compiles, and those that only others compile, as a
# regular expression; "qt" is built by WindowPart.cmake.
if(WIN32)
  set(MV_SYSTEM_FOLDER windows)
  set(MV_OTHER_FOLDERS "posix|qt")
else()
  set(MV_SYSTEM_FOLDER posix)
  set(MV_OTHER_FOLDERS "windows|win32|qt")
endif()

add_custom_target(tests)

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
    mv_unite(sources ${name} ${sources})
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

# mv_unite(UNITED NAME [TESTS] SOURCE...): the list UNITED gets the sources to compile for SOURCE...: these, or with MV_UNITE
# one for every sixteen of them. Headers of Windows make macros of common words: what lies in folders of its own is united
# apart.
function(mv_unite united name)
  cmake_parse_arguments(ARG "TESTS" "" "" ${ARGN})
  set(portable ${ARG_UNPARSED_ARGUMENTS})
  list(LENGTH portable count)
  if(NOT MV_UNITE OR count LESS 2)
    set(${united} ${portable} PARENT_SCOPE)
    return()
  endif()
  set(system ${portable})
  list(FILTER system INCLUDE REGEX "/(windows|win32)/")
  list(FILTER portable EXCLUDE REGEX "/(windows|win32)/")
  set(all)
  foreach(kind portable system)
    list(LENGTH ${kind} count)
    if(count EQUAL 0)
      continue()
    endif()
    if(ARG_TESTS)
      set(form --tests)
      math(EXPR last "(${count} + 15) / 16 - 1")
    else()
      set(form)
      math(EXPR last "(${count} + 15) / 16 - 1 + 3")  # three to spare for unite-sources
    endif()
    set(outputs)
    foreach(number RANGE ${last})
      list(APPEND outputs ${CMAKE_CURRENT_BINARY_DIR}/${name}_${kind}_${number}.cpp)
    endforeach()
    add_custom_command(
      OUTPUT ${outputs}
      COMMAND ${CMAKE_SOURCE_DIR}/tools/unite-sources ${form} ${outputs} -- ${${kind}}
      DEPENDS ${${kind}} ${CMAKE_SOURCE_DIR}/tools/unite-sources
      VERBATIM)
    # The compiler knows what is said once from what a header says to many by the name of the file, which "#line" changes.
    set_source_files_properties(${outputs} PROPERTIES COMPILE_OPTIONS "$<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>")
    list(APPEND all ${outputs})
  endforeach()
  set(${united} ${all} PARENT_SCOPE)
endfunction()

# mv_test(NAME [PARTS n] SOURCES ... DEPENDS ...): a Google Test program; a cross build runs it through MV_TEST_RUNNER
# (Wine). PARTS: how many processes share its tests, when they take long. Each writes a report into the build folder's
# results. The target "tests" is all of these programs. Not with MV_FUZZ.
function(mv_test name)
  cmake_parse_arguments(ARG "" "PARTS" "SOURCES;DEPENDS" ${ARGN})
  if(NOT ARG_PARTS)
    set(ARG_PARTS 1)
  endif()
  if(NOT TARGET GTest::gmock_main OR MV_FUZZ)
    return()
  endif()
  mv_unite(sources ${name} TESTS ${ARG_SOURCES})
  add_executable(${name} ${sources})
  add_dependencies(tests ${name})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} mv_testing GTest::gmock_main)
  target_compile_options(${name} PRIVATE ${MV_TEST_OPTIONS})
  set_target_properties(${name} PROPERTIES CXX_COMPILER_LAUNCHER "${MV_TEST_LAUNCHER}")
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
