// The interface behind every VISA handle.
#pragma once

#include <cstdarg>

#include "Library/Export.h"

class ISession;

// Receives one found-resource record; `context` is what FindResources() was given.
using FindCallback = long (*)(ISession* source, char const* record, void* context);

// The declaration order is binary interface: other programs declare this class themselves and call
// through the table. The destructor is the third declaration on purpose, so GetID has index 4.
class UXVISA_API ISession {
public:
    virtual long FindRsrc(char* expression, ISession** list, unsigned long* count,
                          char* description) = 0;
    virtual long FindNext(char* description) = 0;
    virtual ~ISession() = default;
    virtual unsigned long GetID() = 0;
    virtual void SetID(unsigned long id) = 0;
    virtual long ParseRsrcEx(char* resource, unsigned short* interfaceType,
                             unsigned short* interfaceNumber, char* resourceClass,
                             char* expandedName, char* alias) = 0;
    virtual long Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
                      ISession** session) = 0;
    virtual long OpenConnection(char* resource, unsigned long accessMode,
                                unsigned long timeoutMs) = 0;
    virtual long CloseConnection() = 0;
    virtual long FindResources(char* expression, FindCallback callback, void* context) = 0;
    virtual long EnableEvent(unsigned long eventType, unsigned short mechanism,
                             unsigned long context) = 0;
    virtual long DisableEvent(unsigned long eventType, unsigned short mechanism) = 0;
    virtual long DiscardEvents(unsigned long eventType, unsigned short mechanism) = 0;
    virtual long SetAttribute(unsigned long attribute, unsigned long value) = 0;
    virtual long GetAttribute(unsigned long attribute, void* value) = 0;
    virtual long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) = 0;
    virtual long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) = 0;
    virtual long Clear() = 0;
    virtual long Close(unsigned long id) = 0;
    virtual long Flush(unsigned short mask) = 0;
    virtual long Printf(char* format, va_list& arguments) = 0;
    virtual long Scanf(char* format, va_list& arguments) = 0;
    virtual long SetBuf(unsigned short mask, unsigned long size) = 0;
};
