#include "FF/PlugIns/IFileImpl.h"
#include "Cmn/Cmn_Types.h"

#include "Cmn/Cmn_Exception.h"
#include "Sys/Sys_File.h"

IFileImpl* IFileImpl::Create(Sys_File* file)
{
    auto* impl = new IFileImpl(file);
    impl->AddRef();
    return impl;
}

PlugInResult IFileImpl::QueryInterface(PlugInGuid const& iid, void** object)
{
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IFile)
        return E_NOINTERFACE;
    AddRef();
    *object = static_cast<IFile*>(this);
    return S_OK;
}

u32 IFileImpl::AddRef()
{
    return static_cast<u32>(++mRefCount);
}

u32 IFileImpl::Release()
{
    if (--mRefCount == 0)
    {
        delete this;
        return 0;
    }
    return static_cast<u32>(mRefCount);
}

template <class F> PlugInResult IFileImpl::Guarded(F&& f)
{
    if (!mFile)
        return E_UNEXPECTED;
    try
    {
        f();
        return S_OK;
    }
    catch (Cmn_TypedException<Sys_OSErrData> const& e)
    {
        i32 const err = e.GetData().GetErr();
        return err == 0 ? S_OK : PlugInResultFromOSError(err);
    }
    catch (...)
    {
        return E_UNEXPECTED;
    }
}

PlugInResult IFileImpl::SetEOF(i64 size)
{
    return Guarded([&] { mFile->SetEOF(size); });
}

PlugInResult IFileImpl::Reserve(i64 size)
{
    return Guarded([&] { mFile->Reserve(size); });
}

PlugInResult IFileImpl::Sync()
{
    return Guarded([&] { mFile->Sync(); });
}

PlugInResult IFileImpl::GetEOF(i64* size)
{
    return Guarded([&] { *size = mFile->GetEOF(); });
}

PlugInResult IFileImpl::SetPosition(i32 from, i64 offset)
{
    return Guarded([&] { mFile->SetPosition(static_cast<Sys_File::EOffsetFrom>(from), offset); });
}

PlugInResult IFileImpl::GetPosition(i64* position)
{
    return Guarded([&] { *position = mFile->GetPosition(); });
}

PlugInResult IFileImpl::Read(void* buffer, i64* count)
{
    return Guarded([&] { *count = mFile->Read(buffer, *count); });
}

PlugInResult IFileImpl::Write(void* buffer, i64* count)
{
    return Guarded([&] { *count = mFile->Write(buffer, *count); });
}

PlugInResult IFileImpl::GetImpl(Sys_FileImpl** impl)
{
    *impl = mFile ? mFile->GetImpl() : nullptr;
    return S_OK;
}
