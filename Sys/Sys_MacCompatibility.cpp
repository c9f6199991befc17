#include "Sys/Sys_MacCompatibility.h"

#include "Sys/Sys_FileLoc.h"
#include "Sys/Sys_Mutex.h"
#include "Sys/Sys_Utils.h"

Sys_FileLoc GetResourceForkLoc(Sys_FileLoc const& location)
{
    return Sys_Utils::GetResourceForkLoc(location);
}

Sys_Mutex* GetResourceManagerMutex()
{
    // A function-local static is made once even when threads race to it.
    static Sys_Mutex* const mutex = Sys_Mutex::Create(Sys_Mutex::kMutexPlain);
    return mutex;
}
