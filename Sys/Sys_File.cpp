#include "Sys/Sys_File.h"

#include <cerrno>
#include <limits>
#include <utility>

#include "Cmn/Cmn_Assert.h"
#include "Sys/Sys_FileImpl.h"
#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_ThrowIfOSErr.h"

namespace
{

Sys_File::CreateMethod sCreateMethod = nullptr;

constexpr int64 kMoveBlockBufferSize = 32768;

} // namespace

void Sys_File::SetCreateMethod(CreateMethod method)
{
    sCreateMethod = method;
}

Sys_File::Sys_File(Sys_FileLoc const& loc)
{
    CMN_ASSERT(sCreateMethod != nullptr);
    if (sCreateMethod)
        mImpl.reset(sCreateMethod(loc));
    CMN_ASSERT(mImpl != nullptr);
}

Sys_File::Sys_File(std::unique_ptr<Sys_FileImpl> impl) : mImpl(std::move(impl)) {}

Sys_File::Sys_File() = default;

Sys_File::~Sys_File() = default;

void Sys_File::SetImpl(std::unique_ptr<Sys_FileImpl> impl)
{
    mImpl = std::move(impl);
}

bool Sys_File::IsOpen() const
{
    return mImpl->IsOpen();
}

bool Sys_File::IsOnline() const
{
    return mImpl->IsOnline();
}

Sys_FileLoc const& Sys_File::GetFileLoc() const
{
    return mImpl->GetFileLoc();
}

Sys_FileAttr Sys_File::GetFileAttr() const
{
    return mImpl->GetFileAttr();
}

void Sys_File::SetPermissions(int32 permissions)
{
    mImpl->SetPermissions(permissions);
}

Sys_FileImpl* Sys_File::GetImpl()
{
    return mImpl.get();
}

void Sys_File::Open(int32 openMode) const
{
    mImpl->Open(openMode);
}

void Sys_File::Close() const
{
    mImpl->Close();
}

void Sys_File::SetEOF(int64 size)
{
    mImpl->SetEOF(size);
}

void Sys_File::Reserve(int64 size)
{
    mImpl->Reserve(size);
}

int64 Sys_File::GetEOF()
{
    return static_cast<int64>(mImpl->GetEOF());
}

void Sys_File::SetPosition(EOffsetFrom from, int64 offset)
{
    mImpl->SetPosition(from, offset);
}

int64 Sys_File::GetPosition()
{
    return static_cast<int64>(mImpl->GetPosition());
}

int64 Sys_File::Read(void* buffer, int64 count)
{
    return mImpl->Read(buffer, count);
}

int64 Sys_File::Write(void const* buffer, int64 count)
{
    return mImpl->Write(buffer, count);
}

void Sys_File::ReadAsync(Sys_AsyncFileIOParams* params)
{
    mImpl->ReadAsync(params);
}

void Sys_File::WriteAsync(Sys_AsyncFileIOParams* params)
{
    mImpl->WriteAsync(params);
}

void Sys_File::Sync()
{
    mImpl->Sync();
}

void Sys_File::QelOpen(int32 openMode)
{
    mImpl->QelOpen(openMode);
}

void Sys_File::QelClose()
{
    mImpl->QelClose();
}

int64 Sys_File::QelGetHighWaterMark()
{
    return static_cast<int64>(mImpl->QelGetHighWaterMark());
}

void Sys_File::QelSetHighWaterMark(int64 mark)
{
    mImpl->QelSetHighWaterMark(mark);
}

void Sys_File::MoveBlock(int64 start, int64 size, int64 moveBy)
{
    if (moveBy == 0)
        return;

    // A negative size would never meet the loop's end and would ask for more
    // than the buffer holds; ranges that leave the signed 64-bit line cannot
    // be positions. The operating system answers a bad seek with EINVAL, and
    // so does this.
    constexpr int64 kMax = std::numeric_limits<int64>::max();
    bool const bad = start < 0 || size < 0 || start > kMax - size || (moveBy > 0 && start + size > kMax - moveBy) ||
                     (moveBy < 0 && start + moveBy < 0);
    if (bad)
        Sys_ThrowIfOSErr(EINVAL);

    char buffer[kMoveBlockBufferSize];
    int64 const saved = GetPosition();

    if (moveBy > 0)
    {
        // Towards the end: copy from the tail, so that an overlap survives.
        int64 cursor = start + size;
        while (cursor != start)
        {
            int64 chunk;
            if (cursor - start < kMoveBlockBufferSize)
            {
                chunk = cursor - start;
                cursor = start;
            }
            else
            {
                chunk = kMoveBlockBufferSize;
                cursor -= chunk;
            }
            SetPosition(kFromStart, cursor);
            CMN_ASSERT(Read(buffer, chunk) == chunk);
            SetPosition(kFromStart, cursor + moveBy);
            CMN_ASSERT(Write(buffer, chunk) == chunk);
        }
    }
    else
    {
        // Towards the start: copy from the head.
        int64 const end = start + size;
        int64 cursor = start;
        while (cursor != end)
        {
            int64 chunk = kMoveBlockBufferSize;
            if (static_cast<uint64>(cursor + kMoveBlockBufferSize) > static_cast<uint64>(end))
                chunk = end - cursor;
            SetPosition(kFromStart, cursor);
            CMN_ASSERT(Read(buffer, chunk) == chunk);
            SetPosition(kFromStart, cursor + moveBy);
            CMN_ASSERT(Write(buffer, chunk) == chunk);
            cursor += chunk;
        }
    }

    SetPosition(kFromStart, saved);
}

// ---------------------------------------------------------------- StOpen

Sys_File::StOpen::StOpen(Sys_File* file, int32 openMode) : mFile(file)
{
    mFile->Open(openMode);
}

Sys_File::StOpen::~StOpen()
{
    if (mFile)
        mFile->Close();
}

Sys_File::StOpen& Sys_File::StOpen::operator=(StOpen const& other)
{
    mFile = other.mFile;
    return *this;
}
