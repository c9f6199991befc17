#include "Cmn/Cmn_OutStream.h"

Cmn_OutStream::~Cmn_OutStream() = default;

void Cmn_OutStream::CleanUp() {}

void Cmn_OutStream::Reserve(int32) {}
