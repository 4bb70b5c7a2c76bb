// The C library's assertion failure, also in builds that leave assertions out, and with the words
// and the source name that programs look for.
#pragma once

// Declared by <assert.h> only where assertions are on.
extern "C" [[noreturn]] void __assert_fail(const char* assertion, const char* file,
                                           unsigned int line, const char* function) noexcept;
