# Warnings for every target, hardening for release builds, and paths in log lines that begin at the source tree.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

option(ORVEL_WARNINGS_AS_ERRORS "Stop the build at the first warning" OFF)

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(ORVEL_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  # The symbols and line tables stay, so that a backtrace from the field can be read.
  add_compile_options(-g1 -fstack-protector-strong -fstack-clash-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
    add_compile_options(-fcf-protection)
  endif()
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,--as-needed)
endif()
