// What a command-line program asks about the place its text goes to. Any thread.
#pragma once

/// Has standard output pass every byte as it is, so that a report is the same on every system. Before anything is
/// written.
void PassOutputUnchanged();

/// True when standard error is a person's terminal, false for a file, a pipe or nothing.
bool IsErrorTerminal();

/// Columns of that terminal; 80 when they cannot be told.
int ErrorTerminalWidth();
