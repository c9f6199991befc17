// The one implementation of IFile: it forwards to the Sys_File that the
// audio file object is, and turns file-layer exceptions into result codes,
// since nothing may be thrown across the plug-in interfaces.
#pragma once

#include "FF/PlugIns/IFile.h"

class Sys_File;

class IFileImpl final : public IFile
{
public:
    // A new wrapper with its first reference.
    static IFileImpl* Create(Sys_File* file);

    PlugInResult QueryInterface(PlugInGuid const& iid, void** object) override;
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

    PlugInResult SetEOF(std::int64_t size) override;
    PlugInResult GetEOF(std::int64_t* size) override;
    PlugInResult SetPosition(std::int32_t from, std::int64_t offset) override;
    PlugInResult GetPosition(std::int64_t* position) override;
    PlugInResult Read(void* buffer, std::int64_t* count) override;
    PlugInResult Write(void* buffer, std::int64_t* count) override;
    PlugInResult GetImpl(Sys_FileImpl** impl) override;

private:
    explicit IFileImpl(Sys_File* file) : mFile(file) {}
    ~IFileImpl() = default;

    template <class F> PlugInResult Guarded(F&& f);

    Sys_File* mFile;
    std::int32_t mRefCount = 0;
};
