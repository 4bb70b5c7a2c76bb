// The session behind the default resource-manager handle.
#pragma once

#include <string>
#include <vector>

#include "core/BaseSession.h"

// Owns every open session and find list. No lock: callers serialise FindSession, Open, FindRsrc and
// Close against calls that change the registry. The fields are binary interface.
class UXVISA_API CResourceManager : public CBaseSession {
public:
    explicit CResourceManager(void* context);
    ~CResourceManager() override;
    long FindRsrc(char* expression, ISession** list, unsigned long* count,
                  char* description) override;
    long ParseRsrcEx(char* resource, unsigned short* interfaceType, unsigned short* interfaceNumber,
                     char* resourceClass, char* expandedName, char* alias) override;
    long Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
              ISession** session) override;
    long Close(unsigned long id) override;

    // The oldest registered object with this identifier, or null. Never the manager itself.
    ISession* FindSession(unsigned long id);

private:
    UXVISA_INTERNAL long OpenRegistered(char* resource, unsigned long accessMode,
                                        unsigned long timeoutMs, ISession** session);

    std::vector<ISession*> m_sessions;
    void* m_context;
};

// True when a field of a split resource string contains "HISLIP" in either case.
UXVISA_API bool isHislipSession(std::vector<std::string>& fields);
