# Long: the machine may be busy, and only a test that fails waits as long.
set(ORVEL_UNIT_TEST_PATIENCE 10 CACHE STRING "Seconds that a unit test waits for what must happen")
set(ORVEL_SYSTEM_TEST_PATIENCE 30 CACHE STRING "Seconds that a system test waits for what must happen")
add_compile_definitions(SYSTEM_TEST_PATIENCE=${ORVEL_SYSTEM_TEST_PATIENCE})

find_package(GTest REQUIRED)
include(GoogleTest)

# The test library's headers are nearly half of what the compiler reads for a test, so it reads them once.
function(orvel_precompile_test_headers target)
  target_precompile_headers(${target} PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:<gmock/gmock.h$<ANGLE-R>>")
endfunction()

# orvel_add_tests(TARGET [PREFIX]): runs each test of a program in a process of its own, and all of them in one process, in any
# order, three times: only there can a test notice what another one leaves behind. The output names the seed:
# --gtest_shuffle --gtest_random_seed=SEED repeats the order. With a sanitizer a process takes ten times as long to start, so
# there all tests run in the one process only.
function(orvel_add_tests target)
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    gtest_discover_tests(${target} TEST_PREFIX "${ARGN}" DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
  endif()
  set(name ${target}PassAsOneProcessInAnyOrder)
  add_test(NAME ${name} COMMAND ${target} --gtest_shuffle --gtest_repeat=3 --gtest_brief=1)
  set_tests_properties(${name} PROPERTIES TIMEOUT 600 COST 100) # they take longest, so they begin first
endfunction()
