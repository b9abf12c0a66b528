# Regenerates the MIB trees into WORK_DIR and compares them with the
# committed ones in COMMITTED_DIR; any difference, missing or extra file
# fails. Run with: cmake -DMIBGEN=... -DMIBS_DIR=... -DCOMMITTED_DIR=...
# -DWORK_DIR=... -P check_up_to_date.cmake
cmake_minimum_required(VERSION 3.25)

foreach(var MIBGEN MIBS_DIR COMMITTED_DIR WORK_DIR)
  if(NOT DEFINED ${var})
    message(FATAL_ERROR "${var} is not set")
  endif()
endforeach()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(COMMAND ${MIBGEN} ${MIBS_DIR} ${WORK_DIR}
  RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "mibgen failed (${result})")
endif()

file(GLOB generated RELATIVE ${WORK_DIR} ${WORK_DIR}/*)
file(GLOB committed RELATIVE ${COMMITTED_DIR} ${COMMITTED_DIR}/*)
list(SORT generated)
list(SORT committed)
set(stale "")
foreach(name IN LISTS generated)
  if(NOT EXISTS ${COMMITTED_DIR}/${name})
    list(APPEND stale "${name} (missing)")
    continue()
  endif()
  execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK_DIR}/${name} ${COMMITTED_DIR}/${name}
    RESULT_VARIABLE differs)
  if(NOT differs EQUAL 0)
    list(APPEND stale "${name} (differs)")
  endif()
endforeach()
foreach(name IN LISTS committed)
  if(NOT name IN_LIST generated)
    list(APPEND stale "${name} (not generated)")
  endif()
endforeach()
if(stale)
  list(JOIN stale "\n  " lines)
  message(FATAL_ERROR "module/mibtrees is out of date; rebuild the target regen-mibtrees:\n  ${lines}")
endif()
message(STATUS "module/mibtrees is up to date")
