#pragma once

#include "Cmn/Cmn_Types.h"

// A list of listeners that may change while it is being walked: a callback
// may remove any entry, itself included, or add new ones, and iterations may
// nest. Remove only clears the entry; the node is unlinked and freed later by
// an iteration that passes it while it is the only one running, so that no
// other iteration can stand on it. The last entry added is called first.
// For one thread.
class Cmn_SafeDispatchListBase
{
public:
    struct Node
    {
        void* mPointer;
        Node* mNext;
    };

    class Iterator
    {
    public:
        explicit Iterator(Cmn_SafeDispatchListBase& list);
        ~Iterator();
        // Each iterator is counted by its list: copies would break the count.
        Iterator(Iterator const&) = delete;
        Iterator& operator=(Iterator const&) = delete;

        explicit operator bool() const { return mCurrent != nullptr; }
        void* operator*() const { return mCurrent->mPointer; }
        Iterator& operator++();
        Node* GetNode() const { return mCurrent; }

    private:
        void AdvancePastRemoved();

        Cmn_SafeDispatchListBase& mList;
        Node* mCurrent;
        // The node before mCurrent, or null when it is not known.
        Node* mPrevious = nullptr;
    };

    Cmn_SafeDispatchListBase() = default;
    // Asserts that no iteration is running.
    ~Cmn_SafeDispatchListBase();
    Cmn_SafeDispatchListBase(Cmn_SafeDispatchListBase const&) = delete;
    Cmn_SafeDispatchListBase& operator=(Cmn_SafeDispatchListBase const&) = delete;

    // The node is the handle for Remove. It stays valid until it is removed:
    // removing a node twice is an error.
    Node* Add(void* pointer);
    void Remove(Node* node);
    Iterator Begin() { return Iterator(*this); }
    bool IsEmpty();
    // Nodes still linked, removed ones that wait to be freed included.
    int32 GetNodeCount() const;

private:
    void Unlink(Node* node, Node* previous);

    Node* mFirst = nullptr;
    int32 mIteratorCount = 0;
};
