#pragma once

#include <string>

class Sys_FileLoc;

// The seam behind Sys_FileLocIterator.
class Sys_FileLocIteratorImpl
{
public:
    virtual ~Sys_FileLocIteratorImpl();

    // Steps to the next location; the first call finds the first one.
    virtual void Advance() = 0;
    virtual Sys_FileLoc const& GetCurrent() const = 0;
    // Also fetches the first location when nothing has been fetched yet.
    virtual bool HasCurrent() = 0;
    // The folder being searched now; may be asked from another thread.
    virtual std::string GetCurrentSearchPath() const = 0;
    // May be called from another thread; the walk ends at its next step.
    virtual void Abort() = 0;
    // Folders that are the roots of other volumes are not entered from now
    // on. A walk that knows nothing of mounted volumes may ignore it.
    virtual void StayOnStartVolume();

protected:
    Sys_FileLocIteratorImpl() = default;

private:
    Sys_FileLocIteratorImpl(Sys_FileLocIteratorImpl const&) = delete;
    Sys_FileLocIteratorImpl& operator=(Sys_FileLocIteratorImpl const&) = delete;
};
