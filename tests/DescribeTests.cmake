# Read by ctest: gives the entries named in `tests` their `timeout` in seconds, `label` and `environment`. It is not left to
# what finds the tests, which passes on only the first variable of an environment.
foreach(test IN LISTS tests)
  set_tests_properties(${test} PROPERTIES TIMEOUT ${timeout} LABELS ${label} ENVIRONMENT "${environment}")
endforeach()
# A program that is not built leaves no names.
set(tests)
