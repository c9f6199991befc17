// What the host needs of the terminal and the process's signals.
#pragma once

namespace vfl
{
// True if standard error is a terminal (a progress bar is worth drawing).
bool StderrIsTerminal();
// From now on an interrupt (Ctrl-C) only raises a flag, read by Interrupted().
void CatchInterrupt();
bool Interrupted();
} // namespace vfl
