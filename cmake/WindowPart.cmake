# The windows of the Linux edition: a shared object beside the program, which loads it when it is to show a window, so that
# silent runs need no Qt. Needs the packages of tools/install-packages window.
option(MV_WINDOW "Build the window of the Linux edition" ON)
set(window_part)

if(MV_WINDOW AND NOT MV_FUZZ)
  find_package(Qt6 QUIET COMPONENTS Widgets DBus)
  find_program(MV_RSVG rsvg-convert)
endif()

# The drawings in the sizes that screens of 100 % to 250 % ask for; what lies between is scaled down from the next.
function(mv_window_pictures source)
  set(folder ${CMAKE_BINARY_DIR}/pictures)
  file(MAKE_DIRECTORY ${folder})
  file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/ui/artwork/*.svg)
  set(pictures)
  set(lines)
  foreach(drawing ${drawings} ${CMAKE_SOURCE_DIR}/packaging/windows/resources/MVPPCSync.svg)
    get_filename_component(name ${drawing} NAME_WE)
    set(rendered)
    set(commands)
    foreach(size 16 24 32 48 64 96 144 192)
      set(picture ${folder}/${name}-${size}.png)
      list(APPEND commands COMMAND ${MV_RSVG} -w ${size} -h ${size} -o ${picture} ${drawing})
      list(APPEND rendered ${picture})
      string(APPEND lines "<file>${name}-${size}.png</file>\n")
    endforeach()
    add_custom_command(OUTPUT ${rendered} ${commands} DEPENDS ${drawing} VERBATIM)
    list(APPEND pictures ${rendered})
  endforeach()
  set(list ${folder}/pictures.qrc)
  file(CONFIGURE OUTPUT ${list} CONTENT "<RCC><qresource prefix=\"/pictures\">\n${lines}</qresource></RCC>\n")
  add_custom_command(
    OUTPUT ${source}
    COMMAND Qt6::rcc --name pictures -o ${source} ${list}
    DEPENDS ${pictures} ${list}
    VERBATIM)
endfunction()

if(NOT MV_WINDOW OR MV_FUZZ)
  message(STATUS "The window of the Linux edition is not built")
elseif(NOT Qt6_FOUND OR NOT MV_RSVG)
  # Only who asks for the window has to have what it needs.
  add_custom_target(
    window
    COMMAND ${CMAKE_COMMAND} -E echo "The window needs Qt 6: run tools/install-packages window and configure anew, or configure with -DMV_WINDOW=OFF"
    COMMAND ${CMAKE_COMMAND} -E false)
else()
  set(pictures ${CMAKE_CURRENT_BINARY_DIR}/pictures.cpp)
  mv_window_pictures(${pictures})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/ui/qt/*.cpp)
  set(tests ${sources})
  list(FILTER tests INCLUDE REGEX "_test\\.cpp$")
  list(FILTER sources EXCLUDE REGEX "_test\\.cpp$")

  mv_unite(sources window ${sources})
  add_library(window_sources OBJECT ${sources} ${pictures})
  target_include_directories(window_sources PRIVATE ${CMAKE_CURRENT_SOURCE_DIR} ${CMAKE_CURRENT_BINARY_DIR})
  target_link_libraries(window_sources PUBLIC Qt6::Widgets Qt6::DBus)
  set_target_properties(window_sources PROPERTIES POSITION_INDEPENDENT_CODE ON)
  add_library(window MODULE)
  target_link_libraries(window PRIVATE window_sources)
  set_target_properties(window PROPERTIES OUTPUT_NAME mvppcsync-window LIBRARY_OUTPUT_DIRECTORY
                                                                       ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  mv_test(window_tests SOURCES ${tests} DEPENDS window_sources mv_ui)
  if(TARGET window_tests)
    # Qt wants code for shared objects, which the headers compiled for all tests are not.
    set_target_properties(window_tests PROPERTIES DISABLE_PRECOMPILE_HEADERS ON)
  endif()
endif()

# What the part needs of module ui and below it takes from the program, which has all of it for that.
set_target_properties(MVPPCSync PROPERTIES ENABLE_EXPORTS ON)
target_link_options(MVPPCSync PRIVATE -Wl,--whole-archive $<TARGET_FILE:mv_ui> -Wl,--no-whole-archive)
