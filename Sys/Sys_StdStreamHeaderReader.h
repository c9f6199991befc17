#pragma once

#include "Cmn/Cmn_Types.h"

class Sys_TypedInStream;

// Reads the standard header of a versioned record: the magic string's
// characters, an int16 version and an int32 size of the body behind it, in
// the stream's byte order. The usual order: construct, CheckVersion, read the
// fields (GetVersion or IsMoreLeft tell what an older writer left out),
// SkipTheRest, which steps over what a newer writer added.
//
// A record that is not what the reader expects (another magic, a version out
// of range, a body read past its end) is reported by throwing one of the
// C strings below, as every reader of these records has always caught them:
// "Magic ID does not match", "Too old a version", "Cannot read data from
// newer version", "Size of header doesn't match amount of data read".
// A stream that ends too soon, including a size that reaches past its end or
// is negative, throws XC_Cmn_EndOfFile.
class Sys_StdStreamHeaderReader
{
public:
    static constexpr int kMaxMagicLength = 128;

    Sys_StdStreamHeaderReader(Sys_TypedInStream& stream, char const* magic);
    // Does not check that SkipTheRest was called.
    ~Sys_StdStreamHeaderReader() {}

    int16 GetVersion() const { return mVersion; }
    int32 GetSize() const { return mSize; }
    void CheckVersion(int16 oldest, int16 newest) const;
    // Whether the body has bytes that were not read yet.
    bool IsMoreLeft();
    // Goes to the end of the body.
    void SkipTheRest();

private:
    Sys_TypedInStream& mStream;
    int16 mVersion = 0;
    int32 mSize = 0;
    int32 mBodyStart = 0;
    bool mSkipped = false;
};
