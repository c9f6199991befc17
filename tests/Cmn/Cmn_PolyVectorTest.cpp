#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Cmn/Cmn_PolyVector.h"

namespace
{
template <class T> T MakeValue(int n);
template <> int MakeValue<int>(int n)
{
    return n;
}
template <> std::string MakeValue<std::string>(int n)
{
    // Long enough to live on the heap, so that ASan sees a stale copy.
    return "value number " + std::to_string(n) + " with some padding";
}

// Runs random operations on a poly vector and on std::vector side by side;
// the capacity is checked against the vector's own growth rule.
template <class T> void RunAgainstOracle(unsigned seed)
{
    std::mt19937 rng(seed);
    Cmn_PolyVector<T> v;
    std::vector<T> oracle;
    std::size_t capacity = 0;
    auto grow = [&](std::size_t n)
    {
        if (oracle.size() + n > capacity)
            capacity = oracle.size() + std::max(oracle.size(), n);
    };
    auto pick = [&](std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound)(rng); };
    int next = 0;
    for (int step = 0; step < 3000; ++step)
    {
        int const op = std::uniform_int_distribution<int>(0, 11)(rng);
        SCOPED_TRACE("step " + std::to_string(step) + " op " + std::to_string(op));
        std::size_t const size = oracle.size();
        switch (op)
        {
        case 0: // one value
        {
            std::size_t const at = pick(size);
            T const value = MakeValue<T>(next++);
            grow(1);
            T* const inserted = v.Insert(v.Begin() + at, value);
            EXPECT_EQ(inserted, v.Begin() + at);
            oracle.insert(oracle.begin() + at, value);
            break;
        }
        case 1: // copies of a value
        {
            std::size_t const at = pick(size), n = pick(size < 8 ? 20 : 5);
            T const value = MakeValue<T>(next++);
            grow(n);
            v.Insert(v.Begin() + at, n, value);
            oracle.insert(oracle.begin() + at, n, value);
            break;
        }
        case 2: // a range from outside
        {
            std::vector<T> source;
            for (std::size_t i = pick(size + 3); i > 0; --i)
                source.push_back(MakeValue<T>(next++));
            std::size_t const at = pick(size);
            grow(source.size());
            v.Insert(v.Begin() + at, source.data(), source.data() + source.size());
            oracle.insert(oracle.begin() + at, source.begin(), source.end());
            break;
        }
        case 3: // a range of the vector itself, which may reallocate under it
        {
            std::size_t const first = pick(size), last = first + pick(size - first), at = pick(size);
            grow(last - first);
            v.Insert(v.Begin() + at, v.Begin() + first, v.Begin() + last);
            std::vector<T> const copy(oracle.begin() + first, oracle.begin() + last);
            oracle.insert(oracle.begin() + at, copy.begin(), copy.end());
            break;
        }
        case 4: // an element of the vector itself
            if (size > 0)
            {
                std::size_t const from = pick(size - 1), at = pick(size), n = pick(3);
                grow(n);
                v.Insert(v.Begin() + at, n, v[from]);
                T const copy = oracle[from];
                oracle.insert(oracle.begin() + at, n, copy);
            }
            break;
        case 5:
        case 6:
            if (size > 0)
            {
                std::size_t const first = pick(size - 1), last = first + pick(std::min<std::size_t>(size - first, 4));
                T* const next = v.Erase(v.Begin() + first, v.Begin() + last);
                EXPECT_EQ(next, v.Begin() + first);
                oracle.erase(oracle.begin() + first, oracle.begin() + last);
            }
            break;
        case 7:
        {
            std::size_t const n = pick(size + 10);
            T const value = MakeValue<T>(next++);
            if (n > size)
                grow(n - size);
            v.Resize(n, value);
            oracle.resize(n, value);
            break;
        }
        case 8:
        {
            std::size_t const n = pick(2 * size + 4);
            capacity = std::max(capacity, n);
            v.Reserve(n);
            break;
        }
        case 9: // assignment from a part of itself
        {
            std::size_t const first = pick(size), last = first + pick(size - first);
            v.Assign(v.Begin() + first, v.Begin() + last);
            oracle = std::vector<T>(oracle.begin() + first, oracle.begin() + last);
            break;
        }
        case 10:
        {
            std::size_t const n = pick(size + 12);
            if (n > capacity)
                capacity = n;
            if (size > 0)
            {
                std::size_t const from = pick(size - 1);
                T const copy = oracle[from];
                v.Assign(n, v[from]);
                oracle.assign(n, copy);
            }
            break;
        }
        case 11:
        {
            Cmn_PolyVector<T> other(v);
            Cmn_PolyVector<T> empty;
            v.Swap(empty);
            EXPECT_EQ(v.Capacity(), 0u);
            v.Swap(empty);
            EXPECT_EQ(other.Size(), v.Size());
            break;
        }
        }
        ASSERT_EQ(v.Size(), oracle.size());
        ASSERT_EQ(v.Capacity(), capacity);
        for (std::size_t i = 0; i < oracle.size(); ++i)
            ASSERT_EQ(v[i], oracle[i]) << "at " << i;
    }
}
} // namespace

TEST(Cmn_PolyVectorTest, BehavesAsStdVectorUnderRandomOperations)
{
    for (unsigned seed : {1u, 2u, 3u})
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RunAgainstOracle<std::string>(seed);
        RunAgainstOracle<int>(seed);
    }
}

TEST(Cmn_PolyVectorTest, AtPastTheEndThrowsOutOfRange)
{
    Cmn_PolyVector<std::string> v(3, "x");
    for (std::size_t index : {std::size_t(3), std::size_t(4), std::size_t(-1)})
        EXPECT_THAT([&] { v.At(index); },
                    testing::ThrowsMessage<std::out_of_range>(testing::StrEq("out_of_range: Cmn_PolyVectorImpl::at")))
            << index;
    EXPECT_EQ(v.At(2), "x");
}

namespace
{
// Counts live objects and throws on a chosen copy, to see that a failed
// insertion leaks nothing and destroys nothing twice.
struct Fragile
{
    static inline int sLive = 0;
    static inline int sCopiesLeft = -1;
    int mValue;
    explicit Fragile(int value) : mValue(value) { ++sLive; }
    Fragile(Fragile const& o) : mValue(o.mValue)
    {
        if (sCopiesLeft == 0)
            throw std::runtime_error("copy failed");
        if (sCopiesLeft > 0)
            --sCopiesLeft;
        ++sLive;
    }
    Fragile& operator=(Fragile const& o)
    {
        if (sCopiesLeft == 0)
            throw std::runtime_error("copy failed");
        mValue = o.mValue;
        return *this;
    }
    ~Fragile() { --sLive; }
};
} // namespace

TEST(Cmn_PolyVectorTest, AFailedCopyLeaksNothing)
{
    for (int failAt = 0; failAt < 12; ++failAt)
        for (std::size_t reserve : {std::size_t(0), std::size_t(32)})
        {
            SCOPED_TRACE(testing::Message() << "copy " << failAt << " reserve " << reserve);
            {
                Cmn_PolyVector<Fragile> v;
                v.Reserve(reserve);
                for (int i = 0; i < 6; ++i)
                    v.PushBack(Fragile(i));
                Fragile::sCopiesLeft = failAt;
                try
                {
                    v.Insert(v.Begin() + 2, 4, Fragile(99));
                }
                catch (std::runtime_error const&)
                {
                }
                Fragile::sCopiesLeft = -1;
                EXPECT_EQ(Fragile::sLive, int(v.Size()));
            }
            EXPECT_EQ(Fragile::sLive, 0);
        }
}
