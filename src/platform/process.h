// The end of the process.
#pragma once

/// Ends the process with `code`, after the step that SetExitStep named and a flush of standard output.
[[noreturn]] void ExitEngine(int code);

/// Names the routine that gives back what the engine holds. At most one; nullptr for none.
void SetExitStep(void (*step)());

/// From now on a write to a standard output that nobody reads any more ends the process, silently and with code 0.
void EndWhenOutputCloses();

/// From now on an interrupt (Ctrl-C) leaves the process alone. An xboard front end sends one whenever it wants a
/// pondering engine to look at its input, which the engine does by itself.
void IgnoreInterrupts();
