// Marks what programs outside the library may link against; everything else stays hidden.
#pragma once

#define UXVISA_API __attribute__((visibility("default")))
// Members of exported classes that are nobody's business outside.
#define UXVISA_INTERNAL __attribute__((visibility("hidden")))
