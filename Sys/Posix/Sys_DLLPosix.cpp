#include "Sys/Posix/Sys_DLLPosix.h"

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <exception>

#include "Cmn/Cmn_AddExceptionContext.h"
#include "Cmn/Cmn_Assert.h"
#include "Cmn/Cmn_Exception.h"
#include "Cmn/Cmn_ExceptionCodes.h"
#include "Cmn/Cmn_TStringXData.h"
#include "Cmn/Cmn_TypedExceptionContext.h"
#include "Sys/Sys_DLL.h"
#include "Sys/Sys_ThrowIfOSErr.h"

namespace
{

// The loader keeps errno to itself and reports in text; where the text
// ends in the description of an errno (a file that is not there, one that
// cannot be read), that errno is the reason.
int ErrnoOfLoaderMessage(std::string const& message, int fallback)
{
    for (int err = 1; err < 256; ++err)
    {
        char buffer[256];
        std::string const text = std::string(": ") + ::strerror_r(err, buffer, sizeof buffer);
        if (message.size() > text.size() && message.compare(message.size() - text.size(), text.size(), text) == 0)
            return err;
    }
    return fallback;
}

std::string LoaderMessage()
{
    char const* const message = ::dlerror();
    return message ? message : std::string();
}

[[noreturn]] void ThrowLoaderError(std::string const& message, int fallback)
{
    throw Cmn_TypedException<Sys_OSErrData>::New(XC_Sys_SystemError,
                                                 Sys_OSErrData(ErrnoOfLoaderMessage(message, fallback)));
}

void AddContext(std::exception& e, std::string const& text)
{
    Cmn_AddExceptionContext(
        &e, new Cmn_TypedExceptionContext<Cmn_TStringXData>(XC_Cmn_ExceptionContext, Cmn_TStringXData(text)));
}

std::string Quoted(std::string const& name)
{
    return "(\"" + name + "\")";
}

// The loader's message, if any, behind the name of the call.
std::string CallContext(std::string const& call, std::string const& message)
{
    return message.empty() ? call : call + ": " + message;
}

} // namespace

void Sys_DLLPosix::SetPlatformDependentMethods()
{
    Sys_DLL::SetCreateMethod(&Sys_DLLPosix::Create);
}

Sys_DLLImpl* Sys_DLLPosix::Create()
{
    return new Sys_DLLPosix;
}

Sys_DLLPosix::~Sys_DLLPosix() = default;

void Sys_DLLPosix::Destroy()
{
    delete this;
}

void Sys_DLLPosix::Load(std::string const& name)
{
    try
    {
        if (IsLoaded())
            Free();
        std::string message;
        try
        {
            ::dlerror();
            mHandle = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
            if (!mHandle)
            {
                message = LoaderMessage();
                ThrowLoaderError(message, ELIBBAD);
            }
        }
        catch (std::exception& e)
        {
            AddContext(e, CallContext("from [Posix] ::dlopen" + Quoted(name), message));
            throw;
        }
    }
    catch (std::exception& e)
    {
        AddContext(e, "from Sys_DLLPosix::Load" + Quoted(name));
        throw;
    }
}

void* Sys_DLLPosix::GetProcAddress(std::string const& name) const
{
    try
    {
        CMN_ASSERT(IsLoaded());
        std::string message;
        try
        {
            if (!IsLoaded())
                Sys_ThrowIfOSErr(EBADF);
            // A symbol may stand for null; only the loader's message tells
            // a failure.
            ::dlerror();
            void* const address = ::dlsym(mHandle, name.c_str());
            message = LoaderMessage();
            if (!message.empty())
                ThrowLoaderError(message, ENOSYS);
            return address;
        }
        catch (std::exception& e)
        {
            AddContext(e, CallContext("from [Posix] ::dlsym" + Quoted(name), message));
            throw;
        }
    }
    catch (std::exception& e)
    {
        AddContext(e, "from Sys_DLLPosix::GetProcAddress" + Quoted(name));
        throw;
    }
}

void Sys_DLLPosix::Free()
{
    try
    {
        CMN_ASSERT(IsLoaded());
        std::string message;
        try
        {
            if (!IsLoaded())
                Sys_ThrowIfOSErr(EBADF);
            void* const handle = mHandle;
            // The handle is spent whatever dlclose says: it is not to be
            // closed a second time.
            mHandle = nullptr;
            ::dlerror();
            if (::dlclose(handle) != 0)
            {
                message = LoaderMessage();
                ThrowLoaderError(message, EINVAL);
            }
        }
        catch (std::exception& e)
        {
            AddContext(e, CallContext("from [Posix] ::dlclose" + Quoted("???"), message));
            throw;
        }
    }
    catch (std::exception& e)
    {
        AddContext(e, "from Sys_DLLPosix::Free()");
        throw;
    }
}
