#include "Sys/Sys_FileImpl.h"

Sys_FileImpl::~Sys_FileImpl() = default;
