// The session that every other session derives from.
#pragma once

#include <string>

#include "core/ISession.h"

// Answers every operation with a fixed status that a transport overrides where it has something to
// do, and carries the formatted-I/O engines. The fields and their order are binary interface.
class UXVISA_API CBaseSession : public ISession {
public:
    CBaseSession();
    long FindRsrc(char* expression, ISession** list, unsigned long* count,
                  char* description) override;
    long FindNext(char* description) override;
    ~CBaseSession() override;
    unsigned long GetID() override;
    void SetID(unsigned long id) override;
    long ParseRsrcEx(char* resource, unsigned short* interfaceType, unsigned short* interfaceNumber,
                     char* resourceClass, char* expandedName, char* alias) override;
    long Open(char* resource, unsigned long accessMode, unsigned long timeoutMs,
              ISession** session) override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long FindResources(char* expression, FindCallback callback, void* context) override;
    long EnableEvent(unsigned long eventType, unsigned short mechanism,
                     unsigned long context) override;
    long DisableEvent(unsigned long eventType, unsigned short mechanism) override;
    long DiscardEvents(unsigned long eventType, unsigned short mechanism) override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;
    long Close(unsigned long id) override;
    long Flush(unsigned short mask) override;
    long Printf(char* format, va_list& arguments) override;
    long Scanf(char* format, va_list& arguments) override;
    long SetBuf(unsigned short mask, unsigned long size) override;

    // Fills m_read_buf from the device; used by Scanf only.
    long ReadToBuff();
    // Drops `count` bytes from the front of m_read_buf; nothing when there are fewer.
    void TrimBuff(unsigned int count);

protected:
    std::string m_read_buf;
    unsigned char m_skip_until;
    unsigned char m_line_done;
    unsigned long m_id;

private:
    UXVISA_INTERNAL long ReadBlock();
    UXVISA_INTERNAL long ReadBytes(long room);
    UXVISA_INTERNAL void AcceptByte(unsigned char byte);
};

static_assert(sizeof(CBaseSession) == 56, "other programs rely on this layout");
