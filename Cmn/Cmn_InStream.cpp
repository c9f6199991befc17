#include "Cmn/Cmn_InStream.h"

Cmn_InStream::~Cmn_InStream() = default;
