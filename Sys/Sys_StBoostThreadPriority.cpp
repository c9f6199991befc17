#include "Sys/Sys_StBoostThreadPriority.h"

#include "Sys/Sys_Utils.h"

Sys_StBoostThreadPriority::Sys_StBoostThreadPriority()
{
    Sys_Utils::BoostThreadPriority();
}

Sys_StBoostThreadPriority::~Sys_StBoostThreadPriority()
{
    Sys_Utils::LowerThreadPriority();
}
