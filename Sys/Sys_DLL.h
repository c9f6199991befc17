#pragma once

#include <string>

class Sys_DLLImpl;

// A library of code loaded at run time. Subclasses give typed access to
// its functions on top of GetVoidAddr. Failures throw the system error,
// with a context naming the system call and one naming the operation.
// Deleting the object does not free the library: only Free does, so that
// functions taken from it stay callable as long as the process wants them.
class Sys_DLL
{
public:
    using CreateMethod = Sys_DLLImpl* (*)();

    // Takes an implementation from the creator that Sys_Init::Init()
    // installs; asserts that there is one.
    Sys_DLL();
    virtual ~Sys_DLL();

    // Frees the library loaded before, if any, and loads the one named: a
    // path, or a name looked for where the system looks for libraries.
    virtual void Load(std::string const& name);
    // Asserts that a library is loaded.
    virtual void Free();

    static void SetCreateMethod(CreateMethod method);

protected:
    // The address of a function or object of the loaded library; asserts
    // that one is loaded.
    virtual void* GetVoidAddr(std::string const& name) const;

private:
    Sys_DLL(Sys_DLL const&) = delete;
    Sys_DLL& operator=(Sys_DLL const&) = delete;

    Sys_DLLImpl* mImpl = nullptr;
};
