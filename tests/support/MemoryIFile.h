// An IFile over bytes in memory, for handler tests and fuzzing: no disk,
// and its reads counted and its writes logged.
#pragma once

#include "FF/PlugIns/IFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

class MemoryIFile final : public IFile
{
public:
    explicit MemoryIFile(std::vector<std::uint8_t> bytes = {}) : mBytes(std::move(bytes)) {}

    PlugInResult QueryInterface(PlugInGuid const& iid, void** object) override
    {
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IFile)
            return E_NOINTERFACE;
        AddRef();
        *object = static_cast<IFile*>(this);
        return S_OK;
    }
    // Owned by the test: the count is kept for checks but never deletes.
    std::uint32_t AddRef() override { return ++mRefCount; }
    std::uint32_t Release() override { return --mRefCount; }

    PlugInResult SetEOF(std::int64_t size) override
    {
        if (size < 0)
            return E_UNEXPECTED;
        mBytes.resize(static_cast<std::size_t>(size));
        return S_OK;
    }
    PlugInResult Reserve(std::int64_t) override { return S_OK; }
    PlugInResult GetEOF(std::int64_t* size) override
    {
        *size = static_cast<std::int64_t>(mBytes.size());
        return S_OK;
    }
    PlugInResult SetPosition(std::int32_t from, std::int64_t offset) override
    {
        std::int64_t p = from == 0 ? offset : from == 1 ? mPosition + offset : -1;
        if (p < 0)
            return PlugInResultFromOSError(22); // EINVAL, as the system answers a negative seek
        mPosition = p;
        return S_OK;
    }
    PlugInResult GetPosition(std::int64_t* position) override
    {
        *position = mPosition;
        return S_OK;
    }
    PlugInResult Read(void* buffer, std::int64_t* count) override
    {
        ++mReads;
        std::int64_t const size = static_cast<std::int64_t>(mBytes.size());
        std::int64_t n = mPosition >= size ? 0 : std::min(*count, size - mPosition);
        if (n > 0)
            std::memcpy(buffer, mBytes.data() + mPosition, static_cast<std::size_t>(n));
        mPosition += n;
        *count = n;
        return S_OK;
    }
    PlugInResult Write(void* buffer, std::int64_t* count) override
    {
        mWriteLog.push_back({mPosition, *count});
        std::size_t const end = static_cast<std::size_t>(mPosition + *count);
        if (end > mBytes.size())
            mBytes.resize(end);
        std::memcpy(mBytes.data() + mPosition, buffer, static_cast<std::size_t>(*count));
        mPosition += *count;
        return S_OK;
    }
    PlugInResult GetImpl(Sys_FileImpl** impl) override
    {
        *impl = nullptr;
        return S_OK;
    }
    PlugInResult Sync() override
    {
        mSyncs.push_back(mWriteLog.size());
        return S_OK;
    }

    std::vector<std::uint8_t>& Bytes() { return mBytes; }
    int Reads() const { return mReads; }
    // Every write as (offset, length), oldest first.
    struct Span
    {
        std::int64_t offset, length;
    };
    std::vector<Span> const& WriteLog() const { return mWriteLog; }
    // How many writes of the log each sync followed.
    std::vector<std::size_t> const& Syncs() const { return mSyncs; }
    void ClearWriteLog()
    {
        mWriteLog.clear();
        mSyncs.clear();
    }

private:
    std::vector<std::uint8_t> mBytes;
    std::int64_t mPosition = 0;
    std::uint32_t mRefCount = 0;
    int mReads = 0;
    std::vector<Span> mWriteLog;
    std::vector<std::size_t> mSyncs;
};
