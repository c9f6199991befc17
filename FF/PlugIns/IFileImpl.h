// The one implementation of IFile: it forwards to the Sys_File that the
// audio file object is, and turns file-layer exceptions into result codes,
// since nothing may be thrown across the plug-in interfaces.
#pragma once

#include "Cmn/Cmn_Types.h"
#include "FF/PlugIns/IFile.h"

class Sys_File;

class IFileImpl final : public IFile
{
public:
    // A new wrapper with its first reference.
    static IFileImpl* Create(Sys_File* file);

    PlugInResult QueryInterface(PlugInGuid const& iid, void** object) override;
    u32 AddRef() override;
    u32 Release() override;

    PlugInResult SetEOF(i64 size) override;
    PlugInResult Reserve(i64 size) override;
    PlugInResult Sync() override;
    PlugInResult GetEOF(i64* size) override;
    PlugInResult SetPosition(i32 from, i64 offset) override;
    PlugInResult GetPosition(i64* position) override;
    PlugInResult Read(void* buffer, i64* count) override;
    PlugInResult Write(void* buffer, i64* count) override;
    PlugInResult GetImpl(Sys_FileImpl** impl) override;

private:
    explicit IFileImpl(Sys_File* file) : mFile(file) {}
    ~IFileImpl() = default;

    template <class F> PlugInResult Guarded(F&& f);

    Sys_File* mFile;
    i32 mRefCount = 0;
};
