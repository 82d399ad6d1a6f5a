// Watching long work: Ctrl-C asks it to stop, and a line on the terminal shows how far it is. Any thread may call what is here.
#pragma once

#include "host/progress.h"

namespace torvi::tool
{

/// From here on no signal ends the program: Ctrl-C and its kin ask work to stop, a closed pipe and a full file are write errors.
void CatchSignals();

Bool IsInterrupted() noexcept;

/// The operation-cancelled error after Ctrl-C.
Result<void> CheckInterrupt();

/// The observer of a session's progress: CheckInterrupt, and the line on the terminal once the program has run for half a second.
Result<void> WatchProgress(const ProgressRef& progress);

/// Draws the same line for work without a session; `fraction` is 0 to 1.
void ShowProgress(Float64 fraction);

/// How many files the line is about, and that one of them is done.
void SetFileCount(std::size_t count);
void CountFile();

/// Takes the line away before other text appears.
void ClearProgressLine();

} // namespace torvi::tool
