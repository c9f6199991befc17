// An advisory lock on a file named on the command line, held for as long as
// the object lives: shared by a command that reads the file, exclusive for
// one that rewrites it. So two vfl processes never rewrite one file at once
// (the second would write back what it read before the first one's change,
// and lose it), and none reads a file while another moves its audio.
// Other programs are not held back: the lock is one they may ask for too.
#pragma once

#include <string>

namespace vfl
{
class FileLock
{
public:
    enum EKind
    {
        eShared,
        eExclusive
    };

    // Waits for the lock, saying once on standard error that it waits; an
    // interrupt ends the wait (the caller looks at Interrupted()). A file
    // that cannot be opened, or one on a file system without locks, is not
    // locked: the command meets it as it would have.
    FileLock(std::string const& path, EKind kind);
    ~FileLock();
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;

private:
    int mDescriptor = -1;
};
} // namespace vfl
