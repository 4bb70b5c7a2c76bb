// String, address and time helpers that all sessions share.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Library/Export.h"

// The library itself calls the helpers of this namespace. The exported ones below forward to them,
// so that a program that defines a function of the same name (GetTickCount, say) changes nothing
// in here.
namespace uxvisa {

std::vector<std::string> Split(const char* text, const char* delimiter);
std::vector<std::string> SplitAddress(const std::string& address);
std::string UpperCased(const char* text);
std::string Trimmed(const char* text);
std::string DecimalText(int value, int base);
std::string Field(const char* text, int index, char separator);
unsigned long WallClockMs();
unsigned int RandomUpTo(unsigned int max);

} // namespace uxvisa

namespace stdex {

// The pieces of `text` between occurrences of the whole substring `delimiter`; occurrences + 1 of
// them. An empty delimiter occurs nowhere.
UXVISA_API std::vector<std::string> split(const char* text, const char* delimiter);
// Without leading and trailing blanks, carriage returns and line feeds; tabs stay.
UXVISA_API std::string trim(const char* text);
UXVISA_API std::string toupper(const char* text);
// Decimal text, whatever the base; base 16 only pads it to an even length.
UXVISA_API std::string itos(int value, int base);
UXVISA_API std::string format(const char* fmt, const char* a, const char* b, const char* c,
                              const char* d);
UXVISA_API std::string format(const char* fmt, double a, double b, double c, double d);

} // namespace stdex

// Cuts a resource string into its fields at "::".
UXVISA_API std::vector<std::string> ParseAddress(std::string address,
                                                 std::vector<std::string>* out = nullptr);
// Field number `index`, counted from 0, of a separated text; empty when there is none.
UXVISA_API std::string get_parameter(const char* text, int index, char separator);
UXVISA_API int get_parameter_count(const char* text, char separator);
// Milliseconds of the wall clock; jumps when the system time is set.
UXVISA_API unsigned long GetTickCount();
// Uniform over [1, max]; 0 for a max of 0.
UXVISA_API unsigned int random_uint32(unsigned int max);
// Always empty: wide text is not converted.
UXVISA_API std::string ws2s(const std::wstring& text);
