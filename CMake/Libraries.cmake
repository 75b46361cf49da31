# The libraries of the programs: log4cplus::log4cplus, cxxopts::cxxopts, nlohmann_json::nlohmann_json and
# Threads::Threads.
find_package(log4cplus CONFIG QUIET)
if(NOT TARGET log4cplus::log4cplus) # boards' build systems build it by autotools, and then it has only a pkg-config file
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(log4cplus REQUIRED IMPORTED_TARGET GLOBAL log4cplus)
  add_library(log4cplus::log4cplus ALIAS PkgConfig::log4cplus)
endif()
if(log4cplus_VERSION VERSION_LESS 2.0.8 OR log4cplus_VERSION VERSION_GREATER_EQUAL 3)
  message(FATAL_ERROR "log4cplus ${log4cplus_VERSION} found; orvel needs 2.0.8 or a later 2.x.")
endif()
find_package(cxxopts 3.1 CONFIG REQUIRED) # the first version with the exceptions that the daemon catches
message(STATUS "log4cplus ${log4cplus_VERSION}, cxxopts ${cxxopts_VERSION}")
find_package(nlohmann_json 3.9 CONFIG REQUIRED) # the first version that keeps members in their order
find_package(Threads REQUIRED)
