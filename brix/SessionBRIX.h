// The session behind "…::BRIX": lines of text on this side, packets on the other.
#pragma once

#include <cstdint>
#include <string>

#include "brix/Packet.h"
#include "brix/ProtocolLibrary.h"
#include "core/BaseSession.h"

// The transport is a session of its own, opened and closed by the parent. Names come from the
// protocol-description library of the working directory. The fields are binary interface.
class UXVISA_API CSessionBRIX : public CBaseSession {
public:
    explicit CSessionBRIX(ISession* parent);
    ~CSessionBRIX() override;
    long OpenConnection(char* resource, unsigned long accessMode, unsigned long timeoutMs) override;
    long CloseConnection() override;
    long SetAttribute(unsigned long attribute, unsigned long value) override;
    long GetAttribute(unsigned long attribute, void* value) override;
    long Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) override;
    long Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) override;
    long Clear() override;
    long Flush(unsigned short mask) override;

    // 0 with a packet in `*packet`, to be freed with delete[]; VI_ERROR_INP_PROT_VIOL for a line
    // that is not understood.
    int TextToBinary(const char* line, int protHandle, unsigned char** packet) const;
    // Of a whole packet.
    std::string BinaryToText(unsigned char* packet, bool full, int mode, int protHandle,
                             short expectedStatus) const;
    std::string ExGetErrorName(int protHandle, int code) const;

private:
    UXVISA_INTERNAL void OpenProtocol();
    UXVISA_INTERNAL void UnloadProtocol();
    UXVISA_INTERNAL long OpenInner(std::string resource, unsigned long accessMode,
                                   unsigned long timeoutMs);
    UXVISA_INTERNAL long WriteLines(const unsigned char* buffer, unsigned long count,
                                    unsigned long* writtenCount);
    UXVISA_INTERNAL long SendPacket(unsigned char* packet, std::size_t size);
    UXVISA_INTERNAL long ReadPacket(unsigned char* buffer, unsigned long count,
                                    unsigned long* readCount);
    UXVISA_INTERNAL long ReceivePacket();
    UXVISA_INTERNAL long ReceiveHeader();
    UXVISA_INTERNAL long ReceiveBody();
    UXVISA_INTERNAL void DecodePacket();
    UXVISA_INTERNAL void PrepareBlock();
    UXVISA_INTERNAL bool GoesOnBehindNext() const;
    UXVISA_INTERNAL void TakeText(unsigned char* buffer, unsigned long count,
                                  unsigned long* readCount);
    UXVISA_INTERNAL void TakeBlock(unsigned char* buffer, unsigned long count,
                                   unsigned long* readCount);
    UXVISA_INTERNAL bool OwnAttribute(unsigned long attribute, int& value) const;

    ISession* m_parent;
    ISession* m_inner;
    std::string m_pending;
    std::string m_read_text;
    unsigned char m_packet[uxvisa::brix::LargestPacket + 1]; // transports may add a NUL
    std::uint32_t m_rd_count;
    std::uint32_t m_rd_total;
    std::uint32_t m_rd_pos;
    std::uint32_t m_inner_id;
    std::uint64_t m_direction;
    bool m_split_write;
    bool m_full_header;
    std::uint16_t m_text_taken; // of m_read_text: erasing its front each time would be costly
    std::uint32_t m_decode_mode;
    char m_termchar;
    bool m_raw;
    bool m_inner_open;
    int m_prot_handle;
    uxvisa::brix::ProtocolLibrary m_library;
};

// What other programs do not know of stands where their declarations have padding.
static_assert(sizeof(CSessionBRIX) == 65816, "other programs rely on this layout");
