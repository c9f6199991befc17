#include "Sys/Sys_FileLocIteratorImpl.h"

Sys_FileLocIteratorImpl::~Sys_FileLocIteratorImpl() = default;

void Sys_FileLocIteratorImpl::StayOnStartVolume() {}
