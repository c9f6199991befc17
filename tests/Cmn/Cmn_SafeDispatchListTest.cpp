#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Cmn/Cmn_SafeDispatchList.h"

namespace
{
constexpr int kListeners = 5;

// What a callback does: when listener `at` is called in a dispatch of the
// given depth (0 the outer one, 1 a dispatch from inside it), remove `victim`.
// With nestAt >= 0 the outer call of that listener runs a nested dispatch.
struct Case
{
    char const* name;
    int nestAt;
    int depth;
    int at;
    int victim;
    std::vector<int> outer;
    std::vector<int> inner;
    int nodesAfter;
};

struct Harness;

struct Listener
{
    int mId;
    Harness* mHarness;
    void Called(int depth);
};

struct Harness
{
    Case const& mCase;
    Cmn_SafeDispatchList<Listener> mList;
    Listener mListeners[kListeners];
    Cmn_SafeDispatchListBase::Node* mNodes[kListeners];
    bool mRemoved[kListeners] = {};
    std::vector<int> mCalls[2];
    bool mActing = true;

    explicit Harness(Case const& c) : mCase(c)
    {
        // Added last to first, so that they are called 0, 1, 2, ...
        for (int i = kListeners - 1; i >= 0; --i)
        {
            mListeners[i] = Listener{i, this};
            mNodes[i] = mList.Add(&mListeners[i]);
        }
    }

    void Dispatch(int depth)
    {
        mList.Dispatch([depth](Listener* l) { l->Called(depth); });
    }
};

void Listener::Called(int depth)
{
    Harness& h = *mHarness;
    EXPECT_FALSE(h.mRemoved[mId]) << "listener " << mId << " called after its removal";
    h.mCalls[depth].push_back(mId);
    if (!h.mActing)
        return;
    if (depth == h.mCase.depth && mId == h.mCase.at)
    {
        h.mList.Remove(h.mNodes[h.mCase.victim]);
        h.mRemoved[h.mCase.victim] = true;
    }
    if (depth == 0 && mId == h.mCase.nestAt)
        h.Dispatch(1);
}
} // namespace

TEST(Cmn_SafeDispatchListTest, RemovalDuringDispatchSkipsNothingAndRepeatsNothing)
{
    Case const cases[] = {
        {"current", -1, 0, 2, 2, {0, 1, 2, 3, 4}, {}, 5},
        {"next", -1, 0, 2, 3, {0, 1, 2, 4}, {}, 4},
        {"previous", -1, 0, 2, 1, {0, 1, 2, 3, 4}, {}, 5},
        {"another ahead", -1, 0, 1, 4, {0, 1, 2, 3}, {}, 4},
        {"first, by itself", -1, 0, 0, 0, {0, 1, 2, 3, 4}, {}, 5},
        {"last, by itself", -1, 0, 4, 4, {0, 1, 2, 3, 4}, {}, 5},
        {"nested: current of the inner", 1, 1, 2, 2, {0, 1, 3, 4}, {0, 1, 2, 3, 4}, 4},
        {"nested: next of the inner", 1, 1, 2, 3, {0, 1, 2, 4}, {0, 1, 2, 4}, 4},
        {"nested: previous of the inner, current of the outer", 1, 1, 2, 1, {0, 1, 2, 3, 4}, {0, 1, 2, 3, 4}, 5},
        {"nested: another behind both", 1, 1, 3, 0, {0, 1, 2, 3, 4}, {0, 1, 2, 3, 4}, 5},
        {"nested: the outer's current by itself", 1, 1, 1, 1, {0, 1, 2, 3, 4}, {0, 1, 2, 3, 4}, 5},
        {"nested: the outer removes the next, then nests", 2, 0, 2, 3, {0, 1, 2, 4}, {0, 1, 2, 4}, 4},
    };
    for (Case const& c : cases)
    {
        SCOPED_TRACE(c.name);
        Harness h(c);
        h.Dispatch(0);
        EXPECT_EQ(h.mCalls[0], c.outer);
        EXPECT_EQ(h.mCalls[1], c.inner);
        // A removed node leaves the list only when a lone iteration passes it.
        EXPECT_EQ(h.mList.GetNodeCount(), c.nodesAfter);

        // Any later dispatch calls the rest once each and frees what was left.
        h.mCalls[0].clear();
        h.mActing = false;
        h.Dispatch(0);
        std::vector<int> rest;
        for (int i = 0; i < kListeners; ++i)
            if (!h.mRemoved[i])
                rest.push_back(i);
        EXPECT_EQ(h.mCalls[0], rest);
        EXPECT_EQ(h.mList.GetNodeCount(), kListeners - 1);
    }
}

TEST(Cmn_SafeDispatchListTest, ListenerAddedDuringDispatchWaitsForTheNextOne)
{
    Cmn_SafeDispatchList<int> list;
    int a = 1, b = 2, added = 3;
    list.Add(&b);
    list.Add(&a);
    std::vector<int> seen;
    for (auto it = list.Begin(); it; ++it)
    {
        seen.push_back(**it);
        if (*it == &b)
            list.Add(&added);
    }
    EXPECT_EQ(seen, (std::vector<int>{1, 2}));
    seen.clear();
    for (auto it = list.Begin(); it; ++it)
        seen.push_back(**it);
    EXPECT_EQ(seen, (std::vector<int>{3, 1, 2}));
}
