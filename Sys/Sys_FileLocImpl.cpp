#include "Sys/Sys_FileLocImpl.h"

Sys_FileLocImpl::~Sys_FileLocImpl() = default;
