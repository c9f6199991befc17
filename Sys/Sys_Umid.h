#pragma once

#include <iosfwd>
#include <string>
#include <type_traits>

#include "Cmn/Cmn_Types.h"

// The identity of a piece of media: 16 bytes, seen as four 32-bit words in
// host order. Files store it in big-endian order; SwapIfWin32 turns one
// into the other on a little-endian host.
class Sys_Umid
{
public:
    // A plain value: default construction leaves the words unset, Sys_Umid{}
    // makes them all zero.
    Sys_Umid() = default;
    Sys_Umid(uint32 word0, uint32 word1, uint32 word2, uint32 word3);

    // A new identifier: 0, 457, the processor clock and a microsecond time.
    // Two calls on one thread always differ; two threads may meet in the
    // same 100 microseconds.
    static Sys_Umid Create();

    // Reverses the bytes of each word on a little-endian host (host order to
    // the file's big-endian order and back); does nothing on a big-endian one.
    void SwapIfWin32();
    // The short text form: six bits a character, most significant first,
    // without leading zero bytes. An all-zero identifier gives "".
    std::string AsString() const;

    // The order of the bytes in memory, not of the numbers.
    bool operator==(Sys_Umid const& other) const;
    bool operator!=(Sys_Umid const& other) const { return !(*this == other); }
    bool operator<(Sys_Umid const& other) const;

    uint32 mWords[4];
};

static_assert(sizeof(Sys_Umid) == 16, "a media identifier is 16 bytes");
static_assert(std::is_trivially_copyable_v<Sys_Umid>, "a media identifier is copied as bytes");

// The four words in decimal, separated by ".".
std::ostream& operator<<(std::ostream& os, Sys_Umid const& umid);
// Not in use: asserts, then reads 16 characters, one to a byte.
std::istream& operator>>(std::istream& is, Sys_Umid& umid);
