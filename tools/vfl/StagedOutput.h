// An output file written under a temporary name beside its destination and
// put in the destination's place only when it is complete, so that a
// failure or an interrupt never leaves a part of a file, and an old file of
// the same name stays as it was until the new one replaces it. A resource
// fork written for the temporary file (Resource.FRK/NAME) moves with it.
#pragma once

#include <string>

namespace vfl
{
class StagedOutput
{
public:
    // Makes the temporary file at once (throws the system's error if the
    // destination's folder cannot take it). "-" is standard output: the
    // file is made in the temporary folder and copied out when complete.
    explicit StagedOutput(std::string const& destination);
    // Removes the temporary file unless Commit has put it in place.
    ~StagedOutput();
    StagedOutput(StagedOutput const&) = delete;
    StagedOutput& operator=(StagedOutput const&) = delete;

    // The destination as the user named it.
    std::string const& Destination() const { return mDestination; }
    // Where the file is written until it is complete.
    std::string const& TemporaryPath() const { return mTemporary; }

    // Puts the complete file in the destination's place (or copies it to
    // standard output).
    void Commit();

private:
    std::string mDestination;
    std::string mTarget; // the destination with its links followed
    std::string mTemporary;
    bool mCommitted = false;
    bool mForkFolderExisted = false; // Resource.FRK beside the destination
};
} // namespace vfl
