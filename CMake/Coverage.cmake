# orvel_measure_coverage(TARGET): counts the lines of TARGET that run, in a build with ORVEL_COVERAGE. The target "report"
# then prints the figures of all tests since the counters were last removed.
option(ORVEL_COVERAGE "Count which lines of the daemon run (GCC)" OFF)

function(orvel_measure_coverage target)
  if(ORVEL_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()

if(ORVEL_COVERAGE)
  add_custom_target(report
    COMMAND gcovr --root ${CMAKE_SOURCE_DIR} --filter ${CMAKE_SOURCE_DIR}/Driver/OrvelDriver/Src
            --exclude-throw-branches --exclude-unreachable-branches
            --print-summary --fail-under-line 100 ${CMAKE_BINARY_DIR}
    COMMAND gcovr --root ${CMAKE_SOURCE_DIR} --filter ${CMAKE_SOURCE_DIR}/Driver/OrvelDriver/Src
            --exclude-throw-branches --exclude-unreachable-branches --branches ${CMAKE_BINARY_DIR}
    VERBATIM USES_TERMINAL)
endif()
