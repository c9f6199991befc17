// Result codes of every plug-in operation. Plug-ins never throw into the
// audio file object; they answer with one of these and FF_AudioFile turns
// the answer into an exception at one place per interface.
#pragma once

#include "Cmn/Cmn_Types.h"

#include <cstdint>

using PlugInResult = u32;

constexpr PlugInResult S_OK = 0x00000000;
constexpr PlugInResult S_FALSE = 0x00000001;
constexpr PlugInResult E_NOINTERFACE = 0x80004002;
constexpr PlugInResult E_FAIL = 0x80004005;
constexpr PlugInResult E_UNEXPECTED = 0x8000FFFF;

constexpr PlugInResult kAudioFile_Unimplemented = 0x80041001;
constexpr PlugInResult kAudioFile_BadParameter = 0x80041002;
constexpr PlugInResult kAudioFile_CorruptFile = 0x80041003;
constexpr PlugInResult kImportExport_Unimplemented = 0x80041011;
constexpr PlugInResult kImportExport_BadParameter = 0x80041012;
constexpr PlugInResult kNative_Unimplemented = 0x80041021;
constexpr PlugInResult kNative_BadParameter = 0x80041022;
constexpr PlugInResult kVelmora_Unimplemented = 0x80041031;
// 0x80041032 is deliberately unused.
constexpr PlugInResult kVelmora_BadParameter = 0x80041033;

// An operating-system error travels in the low 16 bits of facility 7.
constexpr PlugInResult PlugInResultFromOSError(i32 err)
{
    return 0x80070000u | (static_cast<u32>(err) & 0xFFFFu);
}
constexpr bool PlugInResultIsOSError(PlugInResult r)
{
    return ((r >> 16) & 0x1FFFu) == 7u;
}
