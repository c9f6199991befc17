#pragma once

#include <string>

#include "Sys/Sys_DLLImpl.h"

// Sys_DLL on Linux: dlopen, dlsym and dlclose. A library is loaded with
// every symbol bound at once (RTLD_NOW), so that a library that cannot be
// used fails at Load and not at its first call. The system error carries
// the errno that the loader names in its message (ENOENT for a library
// that is not there), else ELIBBAD for a library that cannot be loaded,
// ENOSYS for a name the library does not have and EBADF when nothing is
// loaded; the inner context ends with the loader's own message.
class Sys_DLLPosix : public Sys_DLLImpl
{
public:
    void Destroy() override;
    void Load(std::string const& name) override;
    void* GetProcAddress(std::string const& name) const override;
    void Free() override;
    bool IsLoaded() const { return mHandle != nullptr; }

    static void SetPlatformDependentMethods();

private:
    Sys_DLLPosix() = default;
    ~Sys_DLLPosix() override;

    static Sys_DLLImpl* Create();

    void* mHandle = nullptr;
};
