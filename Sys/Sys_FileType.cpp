#include "Sys/Sys_FileType.h"

#include <ostream>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_Utils.h"

namespace
{

std::string ToLowerClassic(std::string text)
{
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

} // namespace

Sys_FileType::Sys_FileType() : mType(kTypeUnknown), mMacFileType(0) {}

Sys_FileType::Sys_FileType(EFileType type) : mType(type), mMacFileType(0) {}

Sys_FileType::Sys_FileType(std::string const& extension)
    : mType(kTypeFile), mWin32Extension(ToLowerClassic(extension)), mMacFileType(0)
{
}

Sys_FileType::Sys_FileType(char const* extension) : Sys_FileType(std::string(extension ? extension : "")) {}

Sys_FileType::Sys_FileType(int32 macFileType) : mType(kTypeFile), mMacFileType(macFileType) {}

Sys_FileType::Sys_FileType(Sys_FileType const& other) = default;

Sys_FileType& Sys_FileType::operator=(Sys_FileType const& other)
{
    if (this != &other)
    {
        mType = other.mType;
        mWin32Extension = other.mWin32Extension;
        mMacFileType = other.mMacFileType;
    }
    return *this;
}

Sys_FileType::~Sys_FileType() = default;

std::string const& Sys_FileType::GetWin32Extension() const
{
    CMN_ASSERT(mType != kTypeNone);
    return mWin32Extension;
}

int32 Sys_FileType::GetMacFileType() const
{
    CMN_ASSERT(mType != kTypeNone);
    return mMacFileType;
}

std::string Sys_FileType::GetDescriptiveString() const
{
    CMN_ASSERT(mType != kTypeNone);
    return Sys_Utils::GetDescriptiveString(*this);
}

void Sys_FileType::Print(std::ostream& os) const
{
    os << "Description: " << Sys_Utils::GetDescriptiveString(*this) << '\n';
    if (mType == kTypeFile)
    {
        os << "Win32 Extension: " << mWin32Extension << '\n';
        uint32 const code = static_cast<uint32>(mMacFileType);
        os << "Mac File Type: " << static_cast<char>(code >> 24) << static_cast<char>(code >> 16)
           << static_cast<char>(code >> 8) << static_cast<char>(code) << '\n';
    }
}

bool Sys_FileType::operator==(Sys_FileType const& other) const
{
    return mType == other.mType && mWin32Extension == other.mWin32Extension && mMacFileType == other.mMacFileType;
}

bool Sys_FileType::operator<(Sys_FileType const& other) const
{
    if (mType != other.mType)
        return mType < other.mType;
    if (mType != kTypeFile)
        return false;
    if (mMacFileType == 0 && other.mMacFileType == 0)
        return mWin32Extension < other.mWin32Extension;
    return mMacFileType < other.mMacFileType;
}
