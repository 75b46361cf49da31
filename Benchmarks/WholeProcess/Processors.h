#pragma once

/// The processors on which the applications and the measured program stay.
struct Processors
{
    int application;
    int subject;
};

/// The first and the last processor that this process may use.
Processors ChooseProcessors();

/// Keeps the calling thread, and the processes that it starts, on one processor. Throws std::runtime_error.
void KeepOn(int processor);

/// Raises the priority of this process and of those that it starts, as far as it may, so that other work waits. Without
/// the right, other work just makes the measuring longer and the scatter wider.
void RaisePriority();
