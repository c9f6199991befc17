#pragma once

#include <string>

// The seam behind Sys_DLL: one platform implementation per object.
class Sys_DLLImpl
{
public:
    // Ends the life of the implementation; the library stays loaded.
    virtual void Destroy() = 0;
    virtual void Load(std::string const& name) = 0;
    virtual void* GetProcAddress(std::string const& name) const = 0;
    virtual void Free() = 0;

protected:
    Sys_DLLImpl() = default;
    virtual ~Sys_DLLImpl();

private:
    Sys_DLLImpl(Sys_DLLImpl const&) = delete;
    Sys_DLLImpl& operator=(Sys_DLLImpl const&) = delete;
};
