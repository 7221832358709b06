# Registers one ctest entry per GoogleTest suite, at the time ctest runs, so that a whole table of cases costs one
# sandbox. Included by the file that halyard_suites writes; variables: EXECUTABLE, TIMEOUT, LABEL.
execute_process(COMMAND ${EXECUTABLE} --gtest_list_tests OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${EXECUTABLE} cannot list its tests")
endif()
string(REGEX MATCHALL "(^|\n)[^ \n][^\n]*\\." suites "${listing}")
foreach(suite IN LISTS suites)
  string(STRIP "${suite}" suite)
  string(REGEX REPLACE "\\.$" "" name "${suite}")
  add_test("${name}" "${EXECUTABLE}" "--gtest_filter=${name}.*" --gtest_brief=1)
  set_tests_properties("${name}" PROPERTIES TIMEOUT ${TIMEOUT} LABELS ${LABEL})
endforeach()
