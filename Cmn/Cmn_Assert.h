#pragma once

#include <atomic>

// The assertion of the system, live in release builds. A failed assertion
// goes to the installed handler; code after the assertion goes on running
// unless the handler throws.
class Cmn_Assert
{
public:
    using Handler = void (*)(bool test, char const* file, int line);

    // Installs handler (null restores the default) and returns the previous one.
    static Handler SetHandler(Handler handler) noexcept;

    // Call sites reach this only when their condition failed. The file is
    // named from the top of the source tree ("Sys/Sys_Task.cpp"), for the
    // handler too. Without a handler it throws
    // std::runtime_error("Assertion in \"FILE\", line N").
    static void HandleAssert(bool test, char const* file, int line);

private:
    // Atomic: any thread may assert while the host installs its handler.
    static std::atomic<Handler> sHandlerP;
};

#define CMN_ASSERT(cond)                                                                                               \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(cond))                                                                                                   \
            ::Cmn_Assert::HandleAssert(false, __FILE__, __LINE__);                                                     \
    } while (0)
