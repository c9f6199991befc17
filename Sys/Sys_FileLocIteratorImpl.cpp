#include "Sys/Sys_FileLocIteratorImpl.h"

Sys_FileLocIteratorImpl::~Sys_FileLocIteratorImpl() = default;
