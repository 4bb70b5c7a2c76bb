// Fixed-point values in the body of a packet.
#pragma once

#include "Library/Export.h"

// Any other value behaves as VS_UNSIGNED.
enum EValueSign { VS_SIGNED, VS_UNSIGNED, VS_SIGNED_IF_FRACTION };

namespace uxvisa::brix {

// Values have at most 15 bytes, of which 8 carry the number.
double ReadValue(const unsigned char* data, unsigned int offset, unsigned int index,
                 EValueSign sign, unsigned int size, unsigned int frac);
int WriteValue(unsigned char* data, unsigned int size, unsigned int frac, double value, int index);

} // namespace uxvisa::brix

// Value number `index` of an array of values of `size` bytes, the last `frac` of them behind the
// point, that begins at `offset`. `size` 0 reads one byte.
UXVISA_API double ReadComplexValue2(const unsigned char* data, unsigned int offset,
                                    unsigned int index, EValueSign sign, unsigned int size,
                                    unsigned int frac);
// Stores value number `index` and returns the offset behind it. What does not fit is cut off.
UXVISA_API int WriteComplexValue(unsigned char* data, unsigned int size, unsigned int frac,
                                 double value, int index);
