// The few file operations of the host that the library does not offer:
// making a file beside another under a fresh name, and putting it in the
// other's place in one step.
#pragma once

#include <string>

namespace vfl
{
// The file that writing to `path` would reach: links followed, relative
// paths made absolute. A path that does not exist yet stays as it is named.
std::string ResolveForWriting(std::string const& path);

// Makes a new, empty, hidden file in the folder of `destination`, under a
// name no other file has, with the permissions `destination` has (or the
// ones a new file gets), and answers its path. It keeps the destination's
// extension. Throws the system's error (a missing folder, no permission,
// a destination that is a folder).
std::string MakeFileBeside(std::string const& destination);

// Puts `from` in the place of `to` in one step: whoever opens `to` sees
// the old file or the new one, never a part. Returns once the new name is
// on the disk. Throws the system's error.
void ReplaceFile(std::string const& from, std::string const& to);

// Writes the whole file to standard output. Throws the system's error.
void CopyToStandardOutput(std::string const& path);

// Removes a file; quiet if it is already gone.
void RemoveFile(std::string const& path);
} // namespace vfl
