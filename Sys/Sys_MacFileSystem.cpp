#include "Sys/Sys_MacFileSystem.h"

#include <atomic>

namespace
{
std::atomic<Sys_MacFileSystem*> sFileSystem{nullptr};
}

Sys_MacFileSystem* Sys_MacFileSystem::Get()
{
    return sFileSystem.load();
}

void Sys_MacFileSystem::Set(Sys_MacFileSystem* fileSystem)
{
    sFileSystem.store(fileSystem);
}
