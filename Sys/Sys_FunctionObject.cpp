#include "Sys/Sys_FunctionObject.h"

Sys_FunctionObject::~Sys_FunctionObject() = default;
