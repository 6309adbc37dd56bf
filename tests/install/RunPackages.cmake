# Makes the Debian packages of the build tree with cpack, checks them with lintian (no error
# may be found), unpacks both into a scratch root and runs the outside consumers against it.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${WORK_DIR}")
execute_process(COMMAND cpack -G DEB -B "${WORK_DIR}/debs" WORKING_DIRECTORY "${BUILD_DIR}"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(GLOB debs "${WORK_DIR}/debs/*.deb")
list(LENGTH debs count)
if(NOT count EQUAL 2)
  message(FATAL_ERROR "Expected the two packages liborv1 and liborv-dev, found: ${debs}")
endif()
foreach(deb IN LISTS debs)
  execute_process(COMMAND dpkg-deb -x "${deb}" "${WORK_DIR}/root" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND lintian --allow-root "${deb}" OUTPUT_VARIABLE findings ERROR_VARIABLE findings)
  message(STATUS "lintian ${deb}:\n${findings}")
  if(findings MATCHES "(^|\n)E: ")
    message(FATAL_ERROR "lintian found errors in ${deb}")
  endif()
endforeach()

set(PREFIX "${WORK_DIR}/root/usr")
include("${CMAKE_CURRENT_LIST_DIR}/RunConsumer.cmake")
