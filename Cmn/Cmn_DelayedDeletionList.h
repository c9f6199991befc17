#pragma once

#include "Cmn/Cmn_PolyVector.h"

class Cmn_DelayedDeletionEntryBase;

// Entries whose deletion waits for CollectGarbage, which the host calls from
// its main loop, where no callback of an entry is running. The list holds
// its entries until they are marked and collected; an entry is added once.
// For one thread.
class Cmn_DelayedDeletionList
{
public:
    Cmn_DelayedDeletionList() = default;
    // Deletes the entries that are marked; the others belong to whoever will
    // still mark them, and are left alone.
    ~Cmn_DelayedDeletionList();
    Cmn_DelayedDeletionList(Cmn_DelayedDeletionList const&) = delete;
    Cmn_DelayedDeletionList& operator=(Cmn_DelayedDeletionList const&) = delete;

    void Add(Cmn_DelayedDeletionEntryBase* entry);
    // Deletes every marked entry and drops it from the list. A destructor may
    // add or mark entries; those marked meanwhile are collected as well.
    void CollectGarbage();
    int Size() const { return int(mEntries.Size()); }

    // Deletes entry if it is marked, and says whether it did.
    static bool CollectGarbagePredicate(Cmn_DelayedDeletionEntryBase* entry);

    static Cmn_DelayedDeletionList gDefaultList;

private:
    Cmn_PolyVector<Cmn_DelayedDeletionEntryBase*> mEntries;
};
