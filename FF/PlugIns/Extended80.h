// The 80-bit extended float of AIFF sample rates: sign, 15-bit exponent
// with bias 16383, 64-bit mantissa with an explicit integer bit, all
// big-endian. Converted in integer arithmetic, so that the result is the
// same on every host whatever its long double is.
#pragma once

// Ten big-endian bytes to the nearest double: rounding to nearest even,
// overflow to infinity, underflow through the double's denormals to zero.
double x80tod(unsigned char const* bytes);

// A double to ten big-endian bytes. Every double has an exact 80-bit form.
void dtox80(double const* value, unsigned char* bytes);
