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

# Runs all tests of a program in one process, in any order, three times: elsewhere each test has a process of its own, where
# it cannot notice what another one leaves behind. The output names the seed: --gtest_shuffle --gtest_random_seed=SEED
# repeats the order.
function(orvel_add_tests_as_one_process target)
  add_test(NAME ${target}PassAsOneProcessInAnyOrder COMMAND ${target} --gtest_shuffle --gtest_repeat=3 --gtest_brief=1)
  set_tests_properties(${target}PassAsOneProcessInAnyOrder PROPERTIES TIMEOUT 600)
endfunction()
