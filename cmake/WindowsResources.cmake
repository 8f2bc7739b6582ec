# Resources of the Windows programs. Each program has one resource script: the pictures inside icons are numbered from 1 in
# every script, so that of two scripts in one program the linker would keep the pictures of one only.
enable_language(RC)

set(MV_RESOURCES ${CMAKE_SOURCE_DIR}/packaging/windows/resources)
set(MV_ICONS ${CMAKE_BINARY_DIR}/icons)
file(MAKE_DIRECTORY ${MV_ICONS})

# mv_icon(NAME DRAWING SIZE... [DRAWING SIZE...]): draws ${MV_ICONS}/NAME.ico, and adds it to the caller's list icons.
function(mv_icon name)
  set(icon ${MV_ICONS}/${name}.ico)
  set(drawings ${ARGN})
  list(FILTER drawings INCLUDE REGEX "[.]svg$")
  add_custom_command(
    OUTPUT ${icon}
    COMMAND ${CMAKE_SOURCE_DIR}/tools/make-icon ${icon} ${ARGN}
    DEPENDS ${drawings} ${CMAKE_SOURCE_DIR}/tools/make-icon
    VERBATIM)
  set(icons ${icons} ${icon} PARENT_SCOPE)
endfunction()

# The program's own icon, and the pictures in its windows, in the sizes that Windows asks for at 100 % to 200 %.
mv_icon(MVPPCSync ${MV_RESOURCES}/MVPPCSync-small.svg 16 20 ${MV_RESOURCES}/MVPPCSync.svg 24 32 48 64 96 128 256)
file(GLOB drawings CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/ui/artwork/*.svg)
foreach(drawing ${drawings})
  get_filename_component(name ${drawing} NAME_WE)
  mv_icon(${name} ${drawing} 16 20 24 32 40 48 64 96 128)
endforeach()
# Several programs have them in their resources; they are drawn once.
add_custom_target(icons DEPENDS ${icons})

# mv_resources(PROGRAM DESCRIPTION [SCRIPT...]): gives a program its icon, its version, its manifest and what is in
# SCRIPT..., which name their pictures as they are called in ${MV_ICONS}.
function(mv_resources program description)
  set(more)
  foreach(script ${ARGN})
    string(APPEND more "#include \"${script}\"\n")
  endforeach()
  set(whole ${CMAKE_CURRENT_BINARY_DIR}/${program}.rc)
  configure_file(${MV_RESOURCES}/program.rc.in ${whole} @ONLY)
  set_source_files_properties(${whole} PROPERTIES INCLUDE_DIRECTORIES ${MV_ICONS} OBJECT_DEPENDS
                                                  "${icons};${MV_RESOURCES}/program.manifest;${ARGN}")
  target_sources(${program} PRIVATE ${whole})
  add_dependencies(${program} icons)
endfunction()
