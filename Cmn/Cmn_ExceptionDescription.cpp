#include "Cmn/Cmn_ExceptionDescription.h"

#include <sstream>

Cmn_ExceptionDescription::Cmn_ExceptionDescription(XC_BaseExceptionCode const& code, Cmn_StackDump* dump) noexcept
    : mCode(code), mStackDump(dump)
{
}

Cmn_ExceptionDescription::Cmn_ExceptionDescription(Cmn_ExceptionDescription const& other)
    : mCode(other.mCode), mStackDump(other.mStackDump ? other.mStackDump->Clone() : nullptr)
{
}

Cmn_ExceptionDescription& Cmn_ExceptionDescription::operator=(Cmn_ExceptionDescription const& other)
{
    if (this != &other)
    {
        std::unique_ptr<Cmn_StackDump> dump(other.mStackDump ? other.mStackDump->Clone() : nullptr);
        mCode = other.mCode;
        mStackDump = std::move(dump);
    }
    return *this;
}

Cmn_ExceptionDescription::~Cmn_ExceptionDescription() = default;

std::string Cmn_ExceptionDescription::GetDescription() const
{
    std::string text = mCode.GetString();
    std::string::size_type pos = 0;
    for (;;)
    {
        std::string::size_type const open = text.find('<', pos);
        if (open == std::string::npos)
            break;
        std::string::size_type const close = text.find('>', open + 1);
        if (close == std::string::npos)
            break;
        std::ostringstream value;
        PrintAttr(text.substr(open + 1, close - open - 1), value);
        std::string const inserted = value.str();
        if (inserted.empty())
        {
            pos = close + 1;
        }
        else
        {
            // Inserted text is never scanned again, so a record's text that
            // itself looks like a placeholder is kept as it is.
            text.replace(open, close - open + 1, inserted);
            pos = open + inserted.size();
        }
    }
    return text;
}
