#include "brix/SessionBRIX.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

#include <strings.h>
#include <unistd.h>

#include "brix/Decoder.h"
#include "brix/Encoder.h"
#include "core/Guard.h"
#include "uxvisa/visatype.h"

namespace brix = uxvisa::brix;

namespace {

constexpr std::string_view Suffix = "::BRIX";
// Answered by the session that replays a recorded line, and by nothing else.
constexpr unsigned long DirectionAttribute = 0x3FFF00E8;
constexpr std::uint64_t DirectionUnknown = 2;
constexpr std::uint64_t DirectionToInstrument = 1;
constexpr std::uint32_t BlockMode = 2;
// No address lies in the first page.
constexpr unsigned long SmallestAddress = 4096;
constexpr std::size_t LargestOffset = std::numeric_limits<std::uint16_t>::max();
// Some transports store a NUL behind the data they deliver.
constexpr std::size_t ReadSlack = 16;

// Whether a session of this thread is asking its parent for the transport. A name that still ends
// in the suffix would come back here through the manager, once for every suffix in it.
thread_local bool openingInner = false;

class OpeningInner {
public:
    OpeningInner() { openingInner = true; }
    ~OpeningInner() { openingInner = false; }
    OpeningInner(const OpeningInner&) = delete;
    OpeningInner& operator=(const OpeningInner&) = delete;
};

std::size_t FindSuffix(const std::string& resource) {
    const std::size_t exact = resource.find(Suffix);
    if (exact != std::string::npos) {
        return exact;
    }
    const char* found = strcasestr(resource.c_str(), Suffix.data());
    return found == nullptr ? std::string::npos : static_cast<std::size_t>(found - resource.data());
}

// The first one goes, wherever it stands, on purpose: what follows it belongs to the transport.
bool EraseSuffix(std::string& resource) {
    const std::size_t at = FindSuffix(resource);
    if (at == std::string::npos) {
        return false;
    }
    resource.erase(at, Suffix.size());
    return true;
}

void StoreCount(unsigned long* target, unsigned long count) {
    if (target != nullptr) {
        *target = count;
    }
}

// "#3100" for 100 bytes.
std::string BlockHeader(std::uint32_t size) {
    const std::string digits = std::to_string(size);
    std::string header = "#";
    header += std::to_string(digits.size());
    return header += digits;
}

} // namespace

CSessionBRIX::CSessionBRIX(ISession* parent)
    : m_parent(parent), m_inner(nullptr), m_rd_count(0), m_rd_total(0), m_rd_pos(0), m_inner_id(0),
      m_direction(DirectionUnknown), m_split_write(false), m_full_header(false), m_text_taken(0),
      m_decode_mode(0), m_termchar('\n'), m_raw(false), m_inner_open(false), m_prot_handle(0) {}

CSessionBRIX::~CSessionBRIX() {
    CSessionBRIX::CloseConnection();
}

// The library comes before the transport, on purpose: a missing one leaves the instrument alone.
long CSessionBRIX::OpenConnection(char* resource, unsigned long accessMode,
                                  unsigned long timeoutMs) {
    return uxvisa::Guarded([&]() -> long {
        std::string stripped = resource == nullptr ? "" : resource;
        if (openingInner || !EraseSuffix(stripped)) {
            return VI_ERROR_INV_RSRC_NAME;
        }
        UnloadProtocol();
        if (!m_library.Load(brix::ProtocolLibraryPath())) {
            return VI_ERROR_LIBRARY_NFOUND;
        }
        m_split_write = false;
        m_full_header = false;
        m_decode_mode = 0;
        m_termchar = '\n';
        m_raw = false;
        OpenProtocol();
        return OpenInner(stripped, accessMode, timeoutMs);
    });
}

// What the two answer is not looked at, on purpose: without a protocol file there are no names, and
// packets still come through with their numbers.
void CSessionBRIX::OpenProtocol() {
    const brix::ProtocolFunctions& functions = m_library.Functions();
    functions.OpenSession(&m_prot_handle);
    functions.ProtLoadFromFile(m_prot_handle, brix::ProtocolFile);
}

// A library that lacks a function is unloaded without a word to it.
void CSessionBRIX::UnloadProtocol() {
    if (m_library.Complete()) {
        m_library.Functions().CloseSession(m_prot_handle);
    }
    m_library.Unload();
}

// The identifier is read here and kept: at the end the transport may be gone already.
long CSessionBRIX::OpenInner(std::string resource, unsigned long accessMode,
                             unsigned long timeoutMs) {
    if (m_parent == nullptr) {
        return VI_ERROR_NSUP_OPER;
    }
    const OpeningInner opening;
    ISession* inner = nullptr;
    const long status = m_parent->Open(resource.data(), accessMode, timeoutMs, &inner);
    if (status >= VI_SUCCESS && inner != nullptr) {
        m_inner = inner;
        m_inner_id = static_cast<std::uint32_t>(inner->GetID());
        m_inner_open = true;
    }
    return status;
}

// The inner session is not forgotten, on purpose: a second close asks the parent again, which knows
// whether there is still something to close.
long CSessionBRIX::CloseConnection() {
    return uxvisa::Guarded([&]() -> long {
        UnloadProtocol();
        if (m_inner == nullptr) {
            return VI_SUCCESS;
        }
        m_inner_open = false;
        return m_parent->Close(m_inner_id);
    });
}

long CSessionBRIX::Clear() {
    // The packet under way is forgotten and nothing else, on purpose: text and blocks that were
    // received completely stay readable.
    m_rd_count = 0;
    return m_inner_open ? m_inner->Clear() : VI_ERROR_INV_OBJECT;
}

long CSessionBRIX::Flush(unsigned short mask) {
    return m_inner_open ? m_inner->Flush(mask) : VI_ERROR_INV_OBJECT;
}

long CSessionBRIX::Write(unsigned char* buffer, unsigned long count, unsigned long* writtenCount) {
    if (!m_inner_open) {
        StoreCount(writtenCount, 0);
        return VI_ERROR_INV_OBJECT;
    }
    return uxvisa::Guarded([&]() -> long {
        return m_raw ? m_inner->Write(buffer, count, writtenCount)
                     : WriteLines(buffer, count, writtenCount);
    });
}

// A NUL ends a line as the terminator does. A line counts as written before it is sent, on purpose,
// so that one which fails on the way is not sent twice; and one that is not understood takes the
// rest of the buffer with it, since what follows was meant to come after it.
long CSessionBRIX::WriteLines(const unsigned char* buffer, unsigned long count,
                              unsigned long* writtenCount) {
    StoreCount(writtenCount, 0);
    const char* text = reinterpret_cast<const char*>(buffer);
    const char* const end = text + count;
    const brix::ProtocolNames names(m_library.Functions(), m_prot_handle);
    std::vector<unsigned char> packet;
    for (;;) {
        const char* stop =
            std::find_if(text, end, [this](char c) { return c == '\0' || c == m_termchar; });
        m_pending.append(text, stop);
        if (stop == end) {
            StoreCount(writtenCount, count);
            return VI_SUCCESS;
        }
        const long encoded = brix::EncodeLine(m_pending, m_termchar, names, packet);
        m_pending.clear();
        if (encoded != VI_SUCCESS) {
            return encoded;
        }
        text = stop + 1;
        StoreCount(writtenCount, count - static_cast<unsigned long>(end - text));
        const long sent = SendPacket(packet.data(), packet.size());
        if (sent != VI_SUCCESS) {
            return sent;
        }
    }
}

// One write for each packet, and never more packets in one, on purpose: instruments take a write
// for a packet. Split packets have their body sent also when it is empty: the instruments that
// want them so wait for it.
long CSessionBRIX::SendPacket(unsigned char* packet, std::size_t size) {
    unsigned long sent = 0;
    if (!m_split_write) {
        return m_inner->Write(packet, size, &sent);
    }
    const long status = m_inner->Write(packet, brix::HeaderSize, &sent);
    if (status != VI_SUCCESS) {
        return status;
    }
    usleep(1);
    return m_inner->Write(packet + brix::HeaderSize, size - brix::HeaderSize, &sent);
}

bool CSessionBRIX::GoesOnBehindNext() const {
    return m_text_taken + std::size_t{1} < m_read_text.size() && m_text_taken < LargestOffset;
}

// Text and block never share a read, on purpose: a program finds the block by the read that begins
// with its "#".
long CSessionBRIX::Read(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    // Formatted input takes long lines byte by byte, so this way is kept short.
    if (count == 1 && m_inner_open && !m_raw && GoesOnBehindNext()) {
        *buffer = static_cast<unsigned char>(m_read_text[m_text_taken]);
        ++m_text_taken;
        StoreCount(readCount, 1);
        return VI_SUCCESS;
    }
    StoreCount(readCount, 0);
    if (!m_inner_open) {
        return VI_ERROR_INV_OBJECT;
    }
    return uxvisa::Guarded([&]() -> long {
        return m_raw ? m_inner->Read(buffer, count, readCount)
                     : ReadPacket(buffer, count, readCount);
    });
}

// The status is that of the last read of the transport, also when there is text.
long CSessionBRIX::ReadPacket(unsigned char* buffer, unsigned long count,
                              unsigned long* readCount) {
    if (m_read_text.empty() && m_rd_pos < m_rd_total) {
        TakeBlock(buffer, count, readCount);
        return VI_SUCCESS;
    }
    const long status = m_read_text.empty() ? ReceivePacket() : VI_SUCCESS;
    TakeText(buffer, count, readCount);
    return status;
}

void CSessionBRIX::TakeText(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    const std::size_t taken = std::min(count, m_read_text.size() - m_text_taken);
    std::copy_n(m_read_text.data() + m_text_taken, taken, reinterpret_cast<char*>(buffer));
    StoreCount(readCount, taken);
    const std::size_t behind = m_text_taken + taken;
    if (behind == m_read_text.size() || behind > LargestOffset) {
        m_read_text.erase(0, behind);
        m_text_taken = 0;
    } else {
        m_text_taken = static_cast<std::uint16_t>(behind);
    }
}

void CSessionBRIX::TakeBlock(unsigned char* buffer, unsigned long count, unsigned long* readCount) {
    const auto taken =
        static_cast<std::uint32_t>(std::min<unsigned long>(count, m_rd_total - m_rd_pos));
    std::copy_n(m_packet + m_rd_pos, taken, buffer);
    m_rd_pos += taken;
    StoreCount(readCount, taken);
}

// Leaves text when the packet is complete, whatever the status.
long CSessionBRIX::ReceivePacket() {
    long status = VI_SUCCESS;
    if (m_rd_count == 0) {
        status = ReceiveHeader();
        if (m_rd_count == 0) {
            return status;
        }
    }
    if (m_rd_count < m_rd_total) {
        status = ReceiveBody();
    }
    if (m_rd_count < m_rd_total) {
        // What came before a time-out is kept and the next read goes on from there; anything else,
        // also a success that brought too little, leaves no packet to go on with.
        m_rd_count = status == VI_ERROR_TMO ? m_rd_count : 0;
        return status;
    }
    DecodePacket();
    return status;
}

// A header that comes only partly is lost, on purpose: the next read begins at a header again. One
// that is complete counts, whatever the transport says about it.
long CSessionBRIX::ReceiveHeader() {
    unsigned char header[brix::HeaderSize + ReadSlack];
    unsigned long received = 0;
    const long status = m_inner->Read(header, brix::HeaderSize, &received);
    if (received < brix::HeaderSize) {
        return status;
    }
    std::memcpy(m_packet, header, brix::HeaderSize);
    m_rd_count = brix::HeaderSize;
    m_rd_total = static_cast<std::uint32_t>(brix::PacketSize(m_packet));
    m_rd_pos = m_rd_total;
    return status;
}

// A busy transport is asked again, and no other, on purpose: it has the bytes and cannot give them
// yet.
long CSessionBRIX::ReceiveBody() {
    long status = VI_SUCCESS;
    do {
        const std::uint32_t missing = m_rd_total - m_rd_count;
        unsigned long received = 0;
        status = m_inner->Read(m_packet + m_rd_count, missing, &received);
        m_rd_count += static_cast<std::uint32_t>(std::min<unsigned long>(received, missing));
    } while (status == VI_ERROR_RSRC_BUSY && m_rd_count < m_rd_total);
    return status;
}

void CSessionBRIX::DecodePacket() {
    m_direction = DirectionUnknown;
    m_inner->GetAttribute(DirectionAttribute, &m_direction);
    const bool request = m_direction == DirectionToInstrument;
    m_read_text = BinaryToText(m_packet, m_full_header, static_cast<int>(m_decode_mode),
                               m_prot_handle, request ? brix::UnansweredStatus : 0);
    m_read_text += m_termchar;
    m_text_taken = 0;
    m_rd_count = 0;
    PrepareBlock();
}

// The block's header ends where the body begins, over the packet's own, and the body's last two
// bytes are its status.
void CSessionBRIX::PrepareBlock() {
    constexpr std::uint32_t BodyStatusSize = 2;
    const auto bodyLen = static_cast<std::uint32_t>(m_rd_total - brix::HeaderSize);
    const auto command = brix::LoadWord<std::uint16_t>(m_packet + brix::CommandOffset);
    if (m_decode_mode != BlockMode || command != brix::ReadBlock || bodyLen <= BodyStatusSize) {
        return;
    }
    const std::string header = BlockHeader(bodyLen - BodyStatusSize);
    m_rd_total -= BodyStatusSize;
    m_rd_pos = static_cast<std::uint32_t>(brix::HeaderSize - header.size());
    std::memcpy(m_packet + m_rd_pos, header.data(), header.size());
}

// The terminator is set through its address, on purpose: programs of this family pass one. Numbers
// that can be no address are refused, among them every character itself.
long CSessionBRIX::SetAttribute(unsigned long attribute, unsigned long value) {
    switch (attribute) {
    case VI_ATTR_BRIX_SPLIT_WRITE:
        m_split_write = value != 0;
        return VI_SUCCESS;
    case VI_ATTR_BRIX_FULL_HEADER:
        m_full_header = value != 0;
        return VI_SUCCESS;
    case VI_ATTR_BRIX_DECODE_MODE:
        m_decode_mode = static_cast<std::uint32_t>(value);
        return VI_SUCCESS;
    case VI_ATTR_BRIX_RAW:
        m_raw = value != 0;
        return VI_SUCCESS;
    case VI_ATTR_TERMCHAR:
        if (value < SmallestAddress) {
            return VI_ERROR_NSUP_ATTR_STATE;
        }
        m_termchar = *reinterpret_cast<const char*>(value);
        return VI_SUCCESS;
    case VI_ATTR_TERMCHAR_EN:
        return VI_ERROR_NSUP_ATTR;
    default:
        return m_inner_open ? m_inner->SetAttribute(attribute, value) : VI_ERROR_INV_OBJECT;
    }
}

// Own attributes are 32 bits wide, whatever their type elsewhere: programs of this family read
// them so.
long CSessionBRIX::GetAttribute(unsigned long attribute, void* value) {
    int own = 0;
    if (!OwnAttribute(attribute, own)) {
        return m_inner_open ? m_inner->GetAttribute(attribute, value) : VI_ERROR_INV_OBJECT;
    }
    if (value == nullptr) {
        return VI_ERROR_NSUP_ATTR_STATE;
    }
    std::memcpy(value, &own, sizeof own);
    return VI_SUCCESS;
}

bool CSessionBRIX::OwnAttribute(unsigned long attribute, int& value) const {
    switch (attribute) {
    case VI_ATTR_BRIX_SPLIT_WRITE:
        value = m_split_write;
        return true;
    case VI_ATTR_BRIX_FULL_HEADER:
        value = m_full_header;
        return true;
    case VI_ATTR_BRIX_DECODE_MODE:
        value = static_cast<int>(m_decode_mode);
        return true;
    case VI_ATTR_BRIX_RAW:
        value = m_raw;
        return true;
    case VI_ATTR_TERMCHAR:
        value = m_termchar;
        return true;
    case DirectionAttribute:
        value = static_cast<int>(m_direction);
        return true;
    default:
        return false;
    }
}

int CSessionBRIX::TextToBinary(const char* line, int protHandle, unsigned char** packet) const {
    const brix::ProtocolNames names(m_library.Functions(), protHandle);
    std::vector<unsigned char> encoded;
    const long status = brix::EncodeLine(line == nullptr ? "" : line, m_termchar, names, encoded);
    if (status == VI_SUCCESS) {
        *packet = new unsigned char[encoded.size()];
        std::copy(encoded.begin(), encoded.end(), *packet);
    }
    return static_cast<int>(status);
}

std::string CSessionBRIX::BinaryToText(unsigned char* packet, bool full, int mode, int protHandle,
                                       short expectedStatus) const {
    return brix::DecodePacket(packet, brix::PacketSize(packet), {full, mode, expectedStatus},
                              brix::ProtocolNames(m_library.Functions(), protHandle));
}

std::string CSessionBRIX::ExGetErrorName(int protHandle, int code) const {
    return brix::ErrorText(code, brix::ProtocolNames(m_library.Functions(), protHandle));
}
