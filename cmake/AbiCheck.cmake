# Compares the exported ABI of each freshly built library with its baseline in abi/ (written by
# scripts/update-abi-baseline) and fails on any incompatible change: a removed or changed symbol,
# a changed layout or virtual table of an exported type. A compatible addition passes and its
# report is printed.
#   cmake -DLIBRARIES=<path>,<path>,... -DABI_DIR=<abi> -P AbiCheck.cmake
cmake_minimum_required(VERSION 3.25)

string(REPLACE "," ";" LIBRARIES "${LIBRARIES}")
set(failed "")
foreach(path IN LISTS LIBRARIES)
  get_filename_component(file "${path}" NAME)
  string(REGEX REPLACE "\\.so.*$" "" library "${file}")
  execute_process(
    COMMAND abidiff --no-show-locs "${ABI_DIR}/${library}.abi" "${path}"
    RESULT_VARIABLE result OUTPUT_VARIABLE report ERROR_VARIABLE report)
  # abidiff's exit status is a bit set (1 error, 2 usage error, 4 change, 8 incompatible
  # change), but it counts a changed class layout as a mere change: its summary tells removed
  # and changed functions and variables, which break callers, from added ones, which do not.
  math(EXPR failed_to_run "${result} & 11")
  string(REGEX MATCH "[1-9][0-9]* (Removed|Changed)" breaking "${report}")
  if(failed_to_run OR breaking)
    message(STATUS "${library}: incompatible ABI change (abidiff status ${result})\n${report}")
    list(APPEND failed "${library}")
  elseif(result)
    message(STATUS "${library}: compatible additions\n${report}")
  else()
    message(STATUS "${library}: ABI unchanged")
  endif()
endforeach()
if(failed)
  message(FATAL_ERROR "ABI broken in ${failed}. If the change is deliberate, run "
    "scripts/update-abi-baseline and say so in the commit message and in CHANGELOG.md.")
endif()
