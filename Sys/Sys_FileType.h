#pragma once

#include <iosfwd>
#include <string>

#include "Cmn/Cmn_Types.h"

// The type of a file, told either by the extension of its name or by a
// Macintosh four-character code kept outside the name, or by neither. Which
// types exist, what they are called and which count as the same is kept by
// the registry in Sys_Utils.
class Sys_FileType
{
public:
    enum EFileType
    {
        kTypeNone = 0,    // not a usable value
        kTypeUnknown = 1, // nothing is known
        kTypeFile = 2,    // with an extension or a code a particular type, with neither any file
        kTypeFolder = 3
    };

    Sys_FileType();
    explicit Sys_FileType(EFileType type);
    // The extension without its dot; it is kept in lower case.
    explicit Sys_FileType(std::string const& extension);
    explicit Sys_FileType(char const* extension);
    // The four characters as one number, first character in the highest byte.
    explicit Sys_FileType(int32 macFileType);
    Sys_FileType(Sys_FileType const& other);
    Sys_FileType& operator=(Sys_FileType const& other);
    virtual ~Sys_FileType();

    EFileType GetFileType() const { return mType; }
    std::string const& GetWin32Extension() const;
    int32 GetMacFileType() const;
    std::string GetDescriptiveString() const;
    void Print(std::ostream& os) const;

    // All three fields equal: the type of an extension and the type of a code
    // are different values, which only the registry makes equivalent.
    bool operator==(Sys_FileType const& other) const;
    bool operator!=(Sys_FileType const& other) const { return !(*this == other); }
    // The order of the registry's maps.
    bool operator<(Sys_FileType const& other) const;

private:
    EFileType mType;
    std::string mWin32Extension;
    int32 mMacFileType;
};
