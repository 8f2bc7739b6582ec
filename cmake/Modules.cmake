# The folder in which a module keeps what only this system's build compiles.
if(WIN32)
  set(MV_SYSTEM_FOLDER windows)
else()
  set(MV_SYSTEM_FOLDER posix)
endif()

# mv_module(NAME [DEPENDS ...] [WINDOWS_LIBRARIES ...] [TEST_DEPENDS ...]): the sources of src/NAME and of its system
# folder (src/NAME/windows or src/NAME/posix, where there is one) as the library mv_NAME, and the *_test.cpp files of both
# as the test program NAME_tests. WINDOWS_LIBRARIES: import libraries that its Windows folder needs. TEST_DEPENDS: modules
# that only the tests use, which may stand above this one.
function(mv_module name)
  cmake_parse_arguments(ARG "" "" "DEPENDS;WINDOWS_LIBRARIES;TEST_DEPENDS" ${ARGN})
  set(folder ${CMAKE_SOURCE_DIR}/src/${name})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/${MV_SYSTEM_FOLDER}/*.cpp)
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
    mv_test(${name}_tests SOURCES ${tests} DEPENDS mv_${name} ${ARG_TEST_DEPENDS})
  endif()
endfunction()

# mv_test(NAME SOURCES ... DEPENDS ...): a Google Test program; a cross build runs it through MV_TEST_RUNNER (Wine). Not
# with MV_FUZZ.
function(mv_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  if(NOT TARGET GTest::gmock_main OR MV_FUZZ)
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  # Tests are mostly expectations; optimising them costs more time than it saves.
  target_compile_options(${name} PRIVATE -O0)
  if(MV_SANITIZE)
    # For the same reason; what they test is checked for both kinds of error.
    target_compile_options(${name} PRIVATE -fno-sanitize=undefined)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} mv_testing GTest::gmock_main)
  add_test(NAME ${name} COMMAND ${MV_TEST_RUNNER} $<TARGET_FILE:${name}> WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
endfunction()
