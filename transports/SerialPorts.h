// The serial ports of this machine, as the kernel lists them.
#pragma once

#include <string>
#include <vector>

#include "Library/Export.h"

// Device paths of the ports that have a driver, in the order of their names, those of the driver
// "serial8250" last. Empty, with a line on standard error, when the kernel gives no list.
UXVISA_API std::vector<std::string> getComList();

// The name of the driver behind an entry of the kernel's list; empty when there is none.
UXVISA_API std::string get_driver(const std::string& directory);

// Adds the device path of an entry to one of the two; an entry without a driver to neither.
UXVISA_API void register_comport(std::vector<std::string>& ports,
                                 std::vector<std::string>& serial8250Ports,
                                 const std::string& directory);

// Adds those that have hardware behind them: the driver "serial8250" makes up a fixed number of
// ports, of which most machines have few or none.
UXVISA_API void probe_serial8250_comports(std::vector<std::string>& ports,
                                          const std::vector<std::string>& serial8250Ports);
