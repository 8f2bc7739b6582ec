# The JSON library is headers only. Cross compilers must not see the other headers of the host's include folder, so its
# folder is linked into one of the build, MV_JSON_FOLDER.
find_path(MV_JSON_HEADERS nlohmann/json.hpp PATHS /usr/local/include /usr/include NO_CMAKE_FIND_ROOT_PATH)
mark_as_advanced(MV_JSON_HEADERS)
if(NOT MV_JSON_HEADERS)
  message(FATAL_ERROR "nlohmann/json.hpp is missing: install the Debian package nlohmann-json3-dev (tools/install-packages build)")
endif()
set(MV_JSON_FOLDER ${CMAKE_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${MV_JSON_FOLDER})
file(CREATE_LINK ${MV_JSON_HEADERS}/nlohmann ${MV_JSON_FOLDER}/nlohmann SYMBOLIC)
