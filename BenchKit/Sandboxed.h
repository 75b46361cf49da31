#pragma once

/// Test programs live in namespaces of their own, so that they can mount, create queues of any name and size, and
/// leave nothing behind.

/// Whether this process is inside the namespaces already.
bool IsInside();

/// Runs this program inside the namespaces with these arguments, and returns its exit status.
int RunInside(char** argv);
