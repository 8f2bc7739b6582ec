# mv_pictures(PROGRAM): the drawings of src/ui/artwork as icons in the program's resources, under the numbers of
# src/ui/win32/PictureIds.h. Resources of a library would not reach the program; so they are the program's own sources.
enable_language(RC)

function(mv_pictures program)
  set(folder ${CMAKE_BINARY_DIR}/pictures)
  file(MAKE_DIRECTORY ${folder})
  file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/ui/artwork/*.svg)
  set(icons)
  foreach(drawing ${drawings})
    get_filename_component(name ${drawing} NAME_WE)
    set(icon ${folder}/${name}.ico)
    add_custom_command(
      OUTPUT ${icon}
      COMMAND ${CMAKE_SOURCE_DIR}/tools/make-icon ${drawing} ${icon}
      DEPENDS ${drawing} ${CMAKE_SOURCE_DIR}/tools/make-icon
      VERBATIM)
    list(APPEND icons ${icon})
  endforeach()
  set(resources ${CMAKE_SOURCE_DIR}/src/ui/win32/Pictures.rc)
  set_source_files_properties(${resources} PROPERTIES OBJECT_DEPENDS "${icons}" INCLUDE_DIRECTORIES ${folder})
  target_sources(${program} PRIVATE ${resources})
endfunction()
