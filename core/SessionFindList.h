// The search list behind viFindRsrc() and viFindNext().
#pragma once

#include <deque>
#include <mutex>
#include <string>

#include "core/BaseSession.h"

// The callback that a search gives the transports; `context` is the list.
UXVISA_API long FnFindHandler(ISession* source, const char* record, void* context);

// Holds the found-resource records of one search. A record is one text of fields with a line feed
// between them: resource string, manufacturer, model, serial number, further identity, network
// address; missing fields read as empty. The fields of the class are binary interface.
class UXVISA_API CSessionFindList : public CBaseSession {
public:
    CSessionFindList();
    ~CSessionFindList() override;
    // Searches every searchable transport, in the order serial, TCP, VXI-11, USB, and hands out the
    // first record. Blocks until all have returned, about a second. The list itself matches, sorts
    // and compares nothing.
    long FindRsrc(char* expression, ISession** list, unsigned long* count,
                  char* description) override;
    // Writes at most 256 bytes: the resource string, and behind its NUL a summary with a NUL.
    long FindNext(char* description) override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    // Fields of the record that FindNext() returned last; "" before. Writes at most 256 bytes.
    long GetAttribute(unsigned long attribute, void* value) override;

    // Keeps a record; from any thread while a search runs.
    long FindHandler(ISession* source, const char* record);

private:
    class UXVISA_INTERNAL Search;

    UXVISA_INTERNAL void SearchEverywhere();

    std::deque<std::string> m_records;
    std::string m_expression;
    std::string m_current;
    std::mutex m_lock;
};
