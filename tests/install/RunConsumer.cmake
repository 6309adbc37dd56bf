# Installs the build tree into a scratch prefix (or takes the tree at PREFIX), checks that the
# installed headers are exactly the public ones of PUBLIC_HEADERS plus the detail/ headers these
# include, then builds and runs an outside consumer twice: once through
# find_package(orv CONFIG REQUIRED), compiling every public header on its own beside it, once
# through pkg-config.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "Failed (${result}): ${ARGN}\n${output}")
  endif()
  set(last_output "${output}" PARENT_SCOPE)
endfunction()

# Without PREFIX, the build tree is installed into a scratch prefix first.
if(DEFINED PREFIX)
  set(prefix "${PREFIX}")
else()
  set(prefix "${WORK_DIR}/prefix")
  file(REMOVE_RECURSE "${WORK_DIR}")
  run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")
endif()

# Installed headers: every public one, and besides them only the detail/ headers they include.
file(STRINGS "${PUBLIC_HEADERS}" public REGEX "^[^#]")
file(GLOB_RECURSE installed RELATIVE "${prefix}/include" "${prefix}/include/*")
set(allowed ${public})
set(checks_dir "${WORK_DIR}/header-checks")
file(REMOVE_RECURSE "${checks_dir}")
foreach(header IN LISTS public)
  if(NOT header IN_LIST installed)
    message(FATAL_ERROR "Public header not installed: ${header}")
  endif()
  file(STRINGS "${prefix}/include/${header}" includes REGEX "^#include \"[^\"]*/detail/")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^#include \"([^\"]*)\".*$" "\\1" included "${line}")
    list(APPEND allowed "${included}")
  endforeach()
  string(MAKE_C_IDENTIFIER "${header}" check)
  file(WRITE "${checks_dir}/${check}.cpp" "#include <${header}>\n")
endforeach()
list(REMOVE_ITEM installed ${allowed})
if(installed)
  message(FATAL_ERROR "Installed headers that are neither public nor included by one: ${installed}")
endif()

# The installed libraries carry no RPATH: the loader finds them through LD_LIBRARY_PATH.
file(GLOB lib_dirs "${prefix}/lib*" "${prefix}/lib/*")
list(JOIN lib_dirs ":" library_path)
set(ENV{LD_LIBRARY_PATH} "${library_path}")
run(${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${WORK_DIR}/cmake-build" -G Ninja
  "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_BUILD_TYPE=Release
  "-DHEADER_CHECKS_DIR=${checks_dir}")
run(${CMAKE_COMMAND} --build "${WORK_DIR}/cmake-build")
run("${WORK_DIR}/cmake-build/consumer")
if(NOT last_output MATCHES "consumer ok")
  message(FATAL_ERROR "Unexpected consumer output: ${last_output}")
endif()

file(GLOB pc_dirs "${prefix}/lib*/pkgconfig" "${prefix}/lib/*/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "${pc_dirs}")
run(pkg-config --cflags --libs orv.nol.common)
string(STRIP "${last_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
run(${CXX} -std=c++17 ${cxx_flags} "${CONSUMER_DIR}/main.cpp" -o "${WORK_DIR}/pc-consumer" ${pc_flags})
run("${WORK_DIR}/pc-consumer")
if(NOT last_output MATCHES "consumer ok")
  message(FATAL_ERROR "Unexpected pkg-config consumer output: ${last_output}")
endif()
message(STATUS "Both consumers built and ran against ${prefix}")
