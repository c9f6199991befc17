#pragma once

#include <string>

// An exception code. Its identity is the address of its message template,
// never the text: two codes whose templates read alike are different codes.
class XC_BaseExceptionCode
{
public:
    std::string GetString() const { return mTemplate; }
    char const* GetTemplate() const noexcept { return mTemplate; }

    bool operator==(XC_BaseExceptionCode const& other) const noexcept { return mTemplate == other.mTemplate; }
    bool operator!=(XC_BaseExceptionCode const& other) const noexcept { return mTemplate != other.mTemplate; }

protected:
    constexpr explicit XC_BaseExceptionCode(char const* messageTemplate) noexcept : mTemplate(messageTemplate) {}

private:
    char const* mTemplate;
};
