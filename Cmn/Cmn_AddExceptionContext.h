#pragma once

#include <exception>

class Cmn_ExceptionDescription;

// Called by a catch clause to annotate what passes through it; takes
// ownership of context. A Cmn_Exception gets the context and the caller
// rethrows it. Any other exception is replaced: this throws an
// XC_Cmn_ANSIexception carrying the foreign what() text and the context.
void Cmn_AddExceptionContext(std::exception* e, Cmn_ExceptionDescription* context);
