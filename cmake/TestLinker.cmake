# MV_TEST_LINK_OPTIONS: what links a test program for Windows with lld, where it is installed. GNU ld takes the square of the
# sections of an object file: up to 50 s of processor time for a test program, where lld takes 0.2 s. The programs for
# users are GNU ld's work.
set(MV_TEST_LINK_OPTIONS)
if(MINGW)
  find_program(MV_LLD ld.lld)
  list(APPEND MV_TEST_LINK_OPTIONS -s)
endif()

if(MINGW AND MV_LLD)
  set(folder ${CMAKE_BINARY_DIR}/lld)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++.a OUTPUT_VARIABLE library
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(${library} IS_NEWER_THAN ${folder}/libstdc++.a)
    file(MAKE_DIRECTORY ${folder})
    execute_process(COMMAND ${CMAKE_SOURCE_DIR}/tools/unwind-for-lld ${CMAKE_AR} ${library} ${folder}/libstdc++.a
                    COMMAND_ERROR_IS_FATAL ANY)
  endif()
  # Without the plugin for link-time optimisation, whose arguments lld does not know.
  list(APPEND MV_TEST_LINK_OPTIONS -fno-use-linker-plugin -wrapper ${CMAKE_SOURCE_DIR}/tools/lld-for-gcc -L${folder})
endif()
