# orv_add_library(<target> <output-name> <alias> <source-root> [DEPENDS <targets>...])
#
# Builds one shared library from every source below <source-root>, with a SONAME version,
# hidden symbols by default (the API is exported with the library's *_API macro) and the
# headers installed beside their include path: the public ones, and of the internal ones in
# detail/ folders only those that a public header includes.
function(orv_add_library target output_name alias source_root)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${source_root}/*.cpp")
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS "${source_root}/*.h")
  list(FILTER headers EXCLUDE REGEX "/detail/")
  add_library(${target} SHARED ${sources} ${headers})
  set(installed ${headers})
  foreach(header IN LISTS headers)
    file(STRINGS "${header}" includes REGEX "^#include \"[^\"]*/detail/[^\"]*\"")
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^#include \"([^\"]*)\".*$" "\\1" included "${line}")
      list(APPEND installed "${CMAKE_CURRENT_SOURCE_DIR}/${included}")
    endforeach()
  endforeach()
  list(REMOVE_DUPLICATES installed)
  add_library(orv::${alias} ALIAS ${target})
  string(TOUPPER "${target}" upper)
  target_compile_definitions(${target} PRIVATE ${upper}_BUILDING=1)
  target_include_directories(${target} PUBLIC
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(ORV_ABI_CHECK)
    # abidw sees class layouts only through debug information; packages are stripped anyway.
    target_compile_options(${target} PRIVATE -g)
  endif()
  target_link_libraries(${target} PUBLIC Threads::Threads ${ARG_DEPENDS})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${output_name}
    EXPORT_NAME ${alias}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  foreach(header IN LISTS installed)
    file(RELATIVE_PATH rel "${CMAKE_CURRENT_SOURCE_DIR}" "${header}")
    get_filename_component(dir "${rel}" DIRECTORY)
    install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${dir}"
      COMPONENT development)
  endforeach()
  # The .so.1 files go to the runtime package, the .so link to the development package.
  install(TARGETS ${target} EXPORT orvTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  set(pc_requires "")
  foreach(dependency IN LISTS ARG_DEPENDS)
    get_target_property(dependency_name ${dependency} OUTPUT_NAME)
    string(APPEND pc_requires " ${dependency_name}")
  endforeach()
  # The .pc files find their prefix relative to themselves, so an install tree can be moved.
  file(RELATIVE_PATH pc_prefix "/root/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/root")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/orv.pc.in"
    "${PROJECT_BINARY_DIR}/pkgconfig/${output_name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/pkgconfig/${output_name}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()
