#pragma once

#include <cstddef>

// What Cmn_PolyVectorImpl needs to know about an element type, behind
// virtual calls, so that the vector's code exists once for every type.
// Trivially copyable types also say so: the vector then moves their bytes
// with memcpy and memmove instead of a virtual call per element.
class Cmn_PolyVectorTraitsBase
{
public:
    // Storage for count elements, not constructed.
    virtual char* Allocate(std::size_t count) const = 0;
    virtual void Free(char* storage) const = 0;
    // Constructs an element at the raw address to as a copy of *from.
    virtual void Construct(char* to, char const* from) const = 0;
    virtual void Assign(char* to, char const* from) const = 0;
    virtual void Destroy(char* element) const = 0;

    bool IsTriviallyCopyable() const { return mTriviallyCopyable; }

protected:
    explicit Cmn_PolyVectorTraitsBase(bool triviallyCopyable) : mTriviallyCopyable(triviallyCopyable) {}
    // Traits are static objects, never deleted through the base.
    ~Cmn_PolyVectorTraitsBase() = default;

private:
    bool mTriviallyCopyable;
};
