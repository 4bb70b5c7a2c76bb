/**
 * @file logfile.h
 * @brief CLogFile, a plain-text log for C++ programs.
 *
 * Needs the include directories of the CMake target UxVisa::UxVisa or of pkg-config.
 */
#ifndef UXVISA_LOGFILE_H
#define UXVISA_LOGFILE_H

#include "core/LogFile.h"

#endif /* UXVISA_LOGFILE_H */
