# The template database "_20", which an Overwrite PC run copies over the user's database: thirteen empty tables, written
# at build time by the program make_template and laid beside the programs.
#
# A cross build runs make_template through MV_TEST_RUNNER (Wine). Where there is no runner it builds make_template for
# this machine in <build folder>/native and runs that: the file is the same whoever writes it.
set(template ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/_20)

if(CMAKE_CROSSCOMPILING AND NOT MV_TEST_RUNNER)
  set(native ${CMAKE_BINARY_DIR}/native)
  add_custom_command(
    OUTPUT ${template}
    COMMAND ${CMAKE_COMMAND} -S ${CMAKE_SOURCE_DIR} -B ${native} -G Ninja -DCMAKE_BUILD_TYPE=Release
            -DCMAKE_CXX_FLAGS_RELEASE=${CMAKE_CXX_FLAGS_RELEASE} -DMV_WARNINGS_AS_ERRORS=${MV_WARNINGS_AS_ERRORS}
    COMMAND ${CMAKE_COMMAND} --build ${native} --target make_template
    COMMAND ${native}/bin/make_template ${template}
    DEPENDS make_template
    VERBATIM)
else()
  add_custom_command(
    OUTPUT ${template}
    COMMAND ${MV_TEST_RUNNER} $<TARGET_FILE:make_template> _20
    WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
    DEPENDS make_template
    VERBATIM)
endif()
add_custom_target(template ALL DEPENDS ${template})
