#include "Sys/Sys_FileImpl.h"

#include <cerrno>

#include "Sys/Sys_ThrowIfOSErr.h"

Sys_FileImpl::~Sys_FileImpl() = default;

void Sys_FileImpl::Reserve(int64) {}

void Sys_FileImpl::Sync() {}

void Sys_FileImpl::ReadAsync(Sys_AsyncFileIOParams*)
{
    Sys_ThrowIfOSErr(EOPNOTSUPP);
}

void Sys_FileImpl::WriteAsync(Sys_AsyncFileIOParams*)
{
    Sys_ThrowIfOSErr(EOPNOTSUPP);
}
