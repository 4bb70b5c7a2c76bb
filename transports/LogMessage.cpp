#include "transports/LogMessage.h"

void LogMessage(std::string, std::string) {}
