# Target "manual": the manual pages mvtool.1 and MVPPCSync.1 and the completions mvtool.bash, _mvtool (zsh) and mvtool.fish in
# the build folder's "manual", written by the program make_manual from the same tables as the help. Linux only: systems
# of the cross builds have neither.
if(NOT CMAKE_CROSSCOMPILING)
  set(manual ${CMAKE_BINARY_DIR}/manual)
  add_executable(make_manual mvtool/make_manual/main.cpp)
  target_link_libraries(make_manual PRIVATE mv_mvtool)
  # The day of SOURCE_DATE_EPOCH where that is set.
  string(TIMESTAMP manual_date "%Y-%m-%d" UTC)
  add_custom_command(
    OUTPUT ${manual}/mvtool.1 ${manual}/MVPPCSync.1 ${manual}/mvtool.bash ${manual}/_mvtool ${manual}/mvtool.fish
    COMMAND make_manual ${manual} ${manual_date}
    DEPENDS make_manual
    VERBATIM)
  add_custom_target(manual DEPENDS ${manual}/mvtool.1)
endif()
