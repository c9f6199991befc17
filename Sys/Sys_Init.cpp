#include "Sys/Sys_Init.h"

#include <mutex>

namespace
{

std::once_flag sInitialized;

} // namespace

void Sys_Init::Init()
{
    std::call_once(sInitialized, &Sys_Init::PlatformInit);
}
