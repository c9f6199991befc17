#pragma once

// An object whose deletion may be asked for where deleting it is not safe,
// such as inside one of its own callbacks: it is marked, and the
// Cmn_DelayedDeletionList that holds it deletes it at a safe moment.
class Cmn_DelayedDeletionEntryBase
{
public:
    virtual ~Cmn_DelayedDeletionEntryBase();

    void MarkForDeletion() { mMarked = true; }
    bool IsMarkedForDeletion() const { return mMarked; }

protected:
    Cmn_DelayedDeletionEntryBase() = default;
    Cmn_DelayedDeletionEntryBase(Cmn_DelayedDeletionEntryBase const&) = delete;
    Cmn_DelayedDeletionEntryBase& operator=(Cmn_DelayedDeletionEntryBase const&) = delete;

private:
    bool mMarked = false;
};
