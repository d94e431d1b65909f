# Runs the program once under memcheck in a fresh copy of a sample folder (cmake -P; variables
# set by CMakeLists.txt). Fails on any memcheck error, on an unsuppressed leak of any kind, and
# on an outcome other than the expected one.
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")
file(GLOB documents "${SAMPLE}/*.xml")
file(COPY ${documents} DESTINATION "${WORK}")
string(REPLACE "," ";" arguments "${ARGUMENTS}")

execute_process(
  COMMAND "${VALGRIND}" --tool=memcheck --leak-check=full --show-leak-kinds=all
          --errors-for-leak-kinds=all --error-exitcode=99 --track-origins=yes
          --suppressions=${SUPPRESSIONS} --log-file=${WORK}/memcheck.log
          "${PROGRAM}" ${arguments}
  WORKING_DIRECTORY "${WORK}"
  RESULT_VARIABLE code
  OUTPUT_VARIABLE out
  ERROR_VARIABLE err)

file(READ "${WORK}/memcheck.log" log)
if(NOT code STREQUAL EXPECTED_CODE)
  message(FATAL_ERROR "exit code ${code}, expected ${EXPECTED_CODE} (99: memcheck found errors)\n${log}")
endif()
if(NOT out STREQUAL "${EXPECTED_OUT}\n")
  message(FATAL_ERROR "standard output:\n${out}\nexpected:\n${EXPECTED_OUT}\n")
endif()
if(NOT err STREQUAL "")
  message(FATAL_ERROR "standard error:\n${err}")
endif()
if(NOT log MATCHES "ERROR SUMMARY: 0 errors")
  message(FATAL_ERROR "${log}")
endif()
file(REMOVE_RECURSE "${WORK}")
