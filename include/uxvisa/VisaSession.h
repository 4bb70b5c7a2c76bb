/**
 * @file VisaSession.h
 * @brief uxvisa::VisaSession, a session of the C API as an object that a hook can own.
 */
#ifndef UXVISA_VISASESSION_H
#define UXVISA_VISASESSION_H

#include "core/BaseSession.h"
#include "uxvisa/visa.h"

namespace uxvisa {

/**
 * Does everything through the C API: OpenConnection() is viOpen(), Read() is viRead(). The session
 * behind it belongs to the resource manager, as every session that viOpen() opens, and this object
 * belongs to whom it is given, so a CSessionHook may wrap it.
 *
 * As with viOpen() and viClose(), opening, closing and destroying come while no other thread is in
 * a function that uses a handle.
 */
class VisaSession : public CBaseSession {
public:
    VisaSession() : m_session(VI_NULL) {}
    ~VisaSession() override { VisaSession::CloseConnection(); }
    VisaSession(const VisaSession&) = delete;
    VisaSession& operator=(const VisaSession&) = delete;

    /** The handle of viOpen(); VI_NULL when closed. */
    ViSession Handle() const { return m_session; }

    long OpenConnection(char* resource, unsigned long accessMode,
                        unsigned long timeoutMs) override {
        VisaSession::CloseConnection();
        ViSession manager = VI_NULL;
        const ViStatus status = viOpenDefaultRM(&manager);
        return status < VI_SUCCESS ? status
                                   : viOpen(manager, resource, accessMode, timeoutMs, &m_session);
    }
    long CloseConnection() override {
        const ViSession closing = m_session;
        m_session = VI_NULL;
        return closing == VI_NULL ? VI_SUCCESS : viClose(closing);
    }
    long EnableEvent(unsigned long eventType, unsigned short mechanism,
                     unsigned long context) override {
        return viEnableEvent(m_session, eventType, mechanism, context);
    }
    long DisableEvent(unsigned long eventType, unsigned short mechanism) override {
        return viDisableEvent(m_session, eventType, mechanism);
    }
    long DiscardEvents(unsigned long eventType, unsigned short mechanism) override {
        return viDiscardEvents(m_session, eventType, mechanism);
    }
    long SetAttribute(unsigned long attribute, unsigned long value) override {
        return viSetAttribute(m_session, attribute, value);
    }
    long GetAttribute(unsigned long attribute, void* value) override {
        return viGetAttribute(m_session, attribute, value);
    }
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override {
        return viRead(m_session, buffer, count, readCount);
    }
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override {
        return viWrite(m_session, buffer, count, writtenCount);
    }
    long Clear() override { return viClear(m_session); }
    long Flush(unsigned short mask) override { return viFlush(m_session, mask); }

private:
    ViSession m_session;
};

} // namespace uxvisa

#endif /* UXVISA_VISASESSION_H */
