# Sets warnings for every target, hardening for every optimised build type, and paths in log lines that begin at the source tree.
include(CheckCXXSourceCompiles)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

option(ORVEL_WARNINGS_AS_ERRORS "Stop the build at the first warning" OFF)

# Without a build type CMake would silently neither optimise nor harden.
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  message(STATUS "No CMAKE_BUILD_TYPE is given: Release")
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, RelWithDebInfo, MinSizeRel or Debug" FORCE)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(ORVEL_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

# The other types, Debug and those with names of their own, bring their own flags.
set(hardened $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)

# Keep the symbols and line tables, so that a backtrace from the field can be read. RelWithDebInfo has more than these.
add_compile_options($<$<CONFIG:Release,MinSizeRel>:-g1>)
add_compile_options("$<${hardened}:-fstack-protector-strong;-fstack-clash-protection>")

# Fortified functions need optimisation; without it the compiler only warns. Integrators may change the flags of a build type, so
# ask the compiler.
set(CMAKE_TRY_COMPILE_CONFIGURATION Release) # the type may be chosen only at the build
if(CMAKE_BUILD_TYPE)
  set(CMAKE_TRY_COMPILE_CONFIGURATION ${CMAKE_BUILD_TYPE})
endif()
unset(ORVEL_OPTIMISES CACHE) # the type may have changed since last time
check_cxx_source_compiles("
  #ifndef __OPTIMIZE__
  #error This build type does not optimise.
  #endif
  int main() {}" ORVEL_OPTIMISES)
unset(CMAKE_TRY_COMPILE_CONFIGURATION)
if(ORVEL_OPTIMISES)
  add_compile_options("$<${hardened}:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|i.86")
  add_compile_options($<${hardened}:-fcf-protection>)
endif()
add_link_options("$<${hardened}:-Wl,-z,relro;-Wl,-z,now;-Wl,-z,noexecstack;-Wl,--as-needed>")
