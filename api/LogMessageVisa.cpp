#include "api/LogMessageVisa.h"

void LogMessageVisa(std::string, std::string) {}
