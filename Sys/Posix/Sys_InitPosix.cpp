#include "Sys/Sys_Init.h"

#include "Sys/Posix/Sys_DLLPosix.h"
#include "Sys/Posix/Sys_EventPosix.h"
#include "Sys/Posix/Sys_FileLocIteratorPosix.h"
#include "Sys/Posix/Sys_FileLocPosix.h"
#include "Sys/Posix/Sys_FilePosix.h"
#include "Sys/Posix/Sys_HFSUtilsPosix.h"
#include "Sys/Posix/Sys_MacFileSystemPosix.h"
#include "Sys/Posix/Sys_MutexPosix.h"
#include "Sys/Posix/Sys_SEHandlerPosix.h"
#include "Sys/Posix/Sys_SemaphorePosix.h"
#include "Sys/Posix/Sys_StackDumpPosix.h"
#include "Sys/Posix/Sys_ThreadPosix.h"
#include "Sys/Posix/Sys_TimerEventPosix.h"
#include "Sys/Posix/Sys_UtilsPosix.h"
#include "Sys/Posix/Sys_VolumePosix.h"

// The order is fixed: later services may use earlier ones while they set
// up. Nothing here waits: the clock behind Sys_Utils::Microseconds is
// CLOCK_MONOTONIC, which needs no calibration against a sleep.
void Sys_Init::PlatformInit()
{
    Sys_MutexPosix::SetPlatformDependentMethods();
    Sys_EventPosix::SetPlatformDependentMethods();
    Sys_SemaphorePosix::SetPlatformDependentMethods();
    Sys_FileLocPosix::SetPlatformDependentMethods();
    Sys_VolumePosix::SetPlatformDependentMethods();
    Sys_HFSUtilsPosix::SetPlatformDependentMethods();
    Sys_ThreadPosix::SetPlatformDependentMethods();
    Sys_FilePosix::SetPlatformDependentMethods();
    Sys_UtilsPosix::SetPlatformDependentMethods();
    Sys_FileLocIteratorPosix::SetPlatformDependentMethods();
    Sys_StackDumpPosix::SetPlatformDependentMethods();
    Sys_SEHandlerPosix::SetPlatformDependentMethods();
    Sys_DLLPosix::SetPlatformDependentMethods();
    Sys_TimerEventPosix::SetPlatformDependentMethods();
    Sys_MacFileSystemPosix::SetPlatformDependentMethods();
}
