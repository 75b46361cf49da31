#pragma once

#include <string>

/// Where tests and proofs find what they run and read. Only Paths.cpp is compiled with these paths, so that all other sources
/// are the same for the compiler cache in every directory.
namespace Paths
{

/// The programs of this build.
std::string Driver();
std::string Prepare();
std::string Client();
std::string Gateway();
std::string Board();
std::string ExampleC();
std::string ExampleCpp();
std::string ExampleGateway();

/// The folders of the two link libraries.
std::string StandInLibrary();
std::string TraceLibrary();

/// What tests load into the daemon.
std::string LateThreads();
std::string EarlyThreads();

/// A file or folder of the source tree, given relative to its top.
std::string InSourceTree(const std::string& name);

/// What the build has made and is no program, given relative to the top of its tree.
std::string InBuildTree(const std::string& name);

} // namespace Paths
