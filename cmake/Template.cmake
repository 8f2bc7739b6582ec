# The template database "_20", which an Overwrite PC run copies over the user's database: thirteen empty tables, written
# at build time by the program make_template and laid beside the programs.
#
# A cross build runs make_template through MV_TEST_RUNNER (Wine). Where there is no runner that of preset "linux" is built
# and run: the file is the same whoever writes it.
set(template ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/_20)

if(CMAKE_CROSSCOMPILING AND NOT MV_TEST_RUNNER)
  add_custom_command(
    OUTPUT ${template}
    COMMAND ${CMAKE_COMMAND} --preset linux
    COMMAND ${CMAKE_COMMAND} --build --preset linux --target make_template
    COMMAND ${CMAKE_SOURCE_DIR}/build/linux/bin/make_template ${template}
    WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
    DEPENDS mv_mvtool
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
