# What "cmake --install" puts where, in the folders of GNUInstallDirs; --prefix may name other ones than were configured, and
# the programs find their files from wherever they lie. Two components:
#   program  MVPPCSync, mvtool, the template, the service, manual pages, completions, documents
#   window   the window, where it was built, with what a desktop needs to offer it
include(GNUInstallDirs)

set(document_folder ${CMAKE_INSTALL_DATADIR}/doc/mvppcsync)

install(TARGETS MVPPCSync mvtool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
# The places of data are relative to the program: InstalledDataFolder in src/platform/System.h.
install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/_20 DESTINATION share/mvppcsync COMPONENT program)

set(manual ${CMAKE_BINARY_DIR}/manual)
install(FILES ${manual}/mvtool.1 ${manual}/MVPPCSync.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
install(FILES ${manual}/mvtool.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME mvtool
        COMPONENT program)
install(FILES ${manual}/_mvtool DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT program)
install(FILES ${manual}/mvtool.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT program)

# The user's pages, and what they link to.
install(
  DIRECTORY ${CMAKE_SOURCE_DIR}/docs/user ${CMAKE_SOURCE_DIR}/docs/formats ${CMAKE_SOURCE_DIR}/docs/screenshots
  DESTINATION ${document_folder}
  COMPONENT program)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/linux/90-mvppcsync.conf DESTINATION ${document_folder}/examples
        COMPONENT program)
# Of the JSON library, which mvtool contains.
set(json_licence /usr/share/doc/nlohmann-json3-dev/copyright)
if(EXISTS ${json_licence})
  install(FILES ${json_licence} DESTINATION ${document_folder} RENAME licence-json.txt COMPONENT program)
endif()

# The service names the program by its path, which is known only now.
install(
  CODE "
    set(CMAKE_INSTALL_BINDIR \"${CMAKE_INSTALL_BINDIR}\")
    configure_file(\"${CMAKE_SOURCE_DIR}/packaging/linux/mvppcsync-listen.service.in\"
                   \"${CMAKE_BINARY_DIR}/install/mvppcsync-listen.service\" @ONLY)
    file(INSTALL \"${CMAKE_BINARY_DIR}/install/mvppcsync-listen.service\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/lib/systemd/user\")"
  COMPONENT program)

set(window_kind)
if(TARGET window)
  get_target_property(window_kind window TYPE)
endif()
if(window_kind STREQUAL MODULE_LIBRARY)
  install(TARGETS window LIBRARY DESTINATION lib/mvppcsync COMPONENT window)
  install(FILES ${CMAKE_SOURCE_DIR}/packaging/linux/mvppcsync.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications
          COMPONENT window)
  install(FILES ${CMAKE_SOURCE_DIR}/packaging/linux/mvppcsync.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo
          COMPONENT window)
  set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
  set(drawings ${CMAKE_SOURCE_DIR}/packaging/windows/resources)
  install(FILES ${drawings}/MVPPCSync.svg DESTINATION ${icons}/scalable/apps RENAME mvppcsync.svg COMPONENT window)
  foreach(size 16 22 24 32 48 64 128 256)
    set(drawing ${drawings}/MVPPCSync.svg)
    if(size LESS 24)
      set(drawing ${drawings}/MVPPCSync-small.svg)
    endif()
    set(icon ${CMAKE_BINARY_DIR}/icons/${size}.png)
    add_custom_command(
      OUTPUT ${icon}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/icons
      COMMAND ${MV_RSVG} -w ${size} -h ${size} -o ${icon} ${drawing}
      DEPENDS ${drawing}
      VERBATIM)
    list(APPEND icon_files ${icon})
    install(FILES ${icon} DESTINATION ${icons}/${size}x${size}/apps RENAME mvppcsync.png COMPONENT window)
  endforeach()
  add_custom_target(icons DEPENDS ${icon_files})
  add_dependencies(programs icons)
endif()
