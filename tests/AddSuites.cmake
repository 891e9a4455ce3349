# Read by ctest: one entry of each suite of a program of tests, which runs each test of it in a process of its own.
# Needs `program`; leaves the names of the entries in `tests`.
set(tests)
execute_process(COMMAND ${program} --gtest_list_tests OUTPUT_VARIABLE listed RESULT_VARIABLE code ERROR_QUIET)
if(NOT code EQUAL 0)
  # An entry that fails, as its program is missing or cannot start.
  add_test(${program} ${program} --gtest_list_tests)
  return()
endif()
# A suite's line ends with a point; "  # TypeParam = ..." may follow.
string(REGEX MATCHALL "(^|\n)[^ \n]+\\." suites "${listed}")
foreach(suite IN LISTS suites)
  string(REGEX REPLACE "^\n|\\.$" "" suite "${suite}")
  add_test(${suite} ${program} --gtest_filter=${suite}.*)
  list(APPEND tests ${suite})
endforeach()
