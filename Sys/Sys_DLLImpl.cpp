#include "Sys/Sys_DLLImpl.h"

Sys_DLLImpl::~Sys_DLLImpl() = default;
