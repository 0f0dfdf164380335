#pragma once

// Ctrl-C and SIGTERM end waits instead of the process, so that the records of a request under way
// are still removed.

// Installs this for the whole process. SIGPIPE is ignored from then on: a connection that Redis has
// closed shows as an error of the next command.
void installInterruptHandler();

// Whether one of the signals has come. Safe on any thread.
[[nodiscard]] bool wasInterrupted();
