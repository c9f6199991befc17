#include "Cmn/Cmn_Assert.h"

#include <stdexcept>
#include <string>

constinit std::atomic<Cmn_Assert::Handler> Cmn_Assert::sHandlerP{nullptr};

Cmn_Assert::Handler Cmn_Assert::SetHandler(Handler handler) noexcept
{
    return sHandlerP.exchange(handler, std::memory_order_acq_rel);
}

void Cmn_Assert::HandleAssert(bool test, char const* file, int line)
{
    if (Handler handler = sHandlerP.load(std::memory_order_acquire))
    {
        handler(test, file, line);
        return;
    }
    std::string text = "Assertion in \"";
    text += file ? file : "";
    text += "\", line ";
    text += std::to_string(line);
    throw std::runtime_error(text);
}
