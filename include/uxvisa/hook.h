/**
 * @file hook.h
 * @brief C++ classes that let a second program watch a session's traffic.
 *
 * CSessionHook wraps a session and shows what it transfers; CSessionDebug, in the same program or
 * in another one, sees it. uxvisa::VisaSession is a session to wrap, for any resource that viOpen()
 * opens. docs/monitor.md explains them and has a whole example.
 *
 * The file is for C++17 and later, and needs the include directories of the CMake target
 * UxVisa::UxVisa or of pkg-config.
 */
#ifndef UXVISA_HOOK_H
#define UXVISA_HOOK_H

#include "monitor/SessionDebug.h"
#include "monitor/SessionHook.h"
#include "uxvisa/VisaSession.h"

#endif /* UXVISA_HOOK_H */
