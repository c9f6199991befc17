#include "Sys/Sys_VolumeImpl.h"

Sys_VolumeImpl::~Sys_VolumeImpl() = default;
