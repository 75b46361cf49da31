#pragma once

#include "Subject.h"

#include <string>

/// The daemon with the built-in console logging, which is DEBUG.
Program Daemon();

/// The daemon with the same console logging, from `level` upward. Its log configuration is written into the working
/// directory.
Program Daemon(const std::string& level);

/// The bare relay; `more` is one of the things that it can do besides.
Program Relay(const std::string& more = "");

/// The bare relay with the daemon's log library loaded too: no program that logs with it starts sooner.
Program RelayWithLogLibrary();
