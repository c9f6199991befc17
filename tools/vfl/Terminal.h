// What the host needs of the terminal, standard input and the process's
// signals.
#pragma once

#include <cstddef>
#include <string>

namespace vfl
{
// True if standard error is a terminal (a progress line is worth drawing).
bool StderrIsTerminal();
// Columns of the terminal on standard error; 80 when it cannot be told.
int TerminalWidth();

// From now on an interrupt (Ctrl-C), SIGTERM and SIGHUP only raise a flag,
// read by Interrupted(), so that the command can clean up and end itself.
void CatchInterrupt();
bool Interrupted();
// The exit status for the signal that arrived: 128 + its number (130 for
// Ctrl-C, 143 for SIGTERM, 129 for SIGHUP); 0 if none did.
int InterruptExitStatus();

// A write past the process's limit on file sizes (ulimit -f) fails with an
// error, as one past a file system's limit does, instead of ending the
// process: the command reports it, keeps what it may, and removes its
// temporary files.
void FailWritesPastTheSizeLimit();

constexpr int kStandardInput = 0;

// A pipe named on the command line (a named pipe, or the shell's
// <(command)) can be read once, from start to end, like standard input:
// opened for ReadInput, or -1 if `path` names no pipe. Throws the system's
// error if it cannot be opened. CloseInput lets it go.
int OpenIfPipe(std::string const& path);
bool IsPipe(std::string const& path);
void CloseInput(int input);

// Reads up to `size` bytes of standard input (or of an input OpenIfPipe
// gave). Fewer come back only at the end of the input (*ended is set) or
// once a signal has arrived: then what the input already holds is still
// taken, and *ended is set when nothing more is waiting. Throws the
// system's error if the read fails.
std::size_t ReadInput(char* buffer, std::size_t size, bool* ended, int input = kStandardInput);
} // namespace vfl
