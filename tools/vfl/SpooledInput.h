// An input file named on the command line. "-" is standard input, and
// like a pipe named on the command line (the shell's <(command)) it is
// copied to a temporary file first, since the library reads a file by
// seeking in it; the copy goes with the object. A file is read under a
// shared lock, held as long as the object, so that no other vfl rewrites it
// meanwhile.
#pragma once

#include "tools/vfl/FileLock.h"

#include <memory>
#include <string>

namespace vfl
{
class SpooledInput
{
public:
    // Copies standard input for "-", or the pipe named (throws the system's error if the copy
    // cannot be written). An interrupt ends the copy early: the caller looks
    // at Interrupted() before it uses the file.
    explicit SpooledInput(std::string const& operand);
    ~SpooledInput();
    SpooledInput(SpooledInput const&) = delete;
    SpooledInput& operator=(SpooledInput const&) = delete;

    // The name as the user gave it, for messages.
    std::string const& Name() const { return mName; }
    // The file to open.
    std::string const& Path() const { return mPath; }
    bool IsStandardInput() const { return mName == "-"; }
    // Whether Path() is a copy, and the copy's extension (".wav"; empty for none).
    bool IsCopy() const { return mSpooled; }
    std::string Extension() const;
    // Renames the copy to end in `extension` (".wav"), for what goes by a
    // file's name; a file that is not a copy keeps its name.
    void TakeExtension(std::string const& extension);

private:
    std::string mName;
    std::string mPath;
    bool mSpooled = false;
    std::unique_ptr<FileLock> mLock;
};
} // namespace vfl
