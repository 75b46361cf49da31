#pragma once

/// Test programs live in namespaces of their own, so that they may mount, may create queues of any name and size, and leave
/// nothing behind.

/// Whether this process is inside already.
bool IsInside();

/// Runs this program with these arguments inside, and returns the exit status that it ends with.
int RunInside(char** argv);
