#include "Cmn/Cmn_ExceptionData.h"

Cmn_ExceptionData::~Cmn_ExceptionData() = default;
