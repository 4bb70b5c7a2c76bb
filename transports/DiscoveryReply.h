// What instruments answer to the broadcast requests, turned into found-resource records. Pure
// functions over (pointer, length); an empty record is a reply to ignore.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace uxvisa {

// A socket instrument's reply: host, port and name, each ended by a tab, then model and serial
// number with a blank between them. What is missing is empty, except host and port.
std::string SocketRecord(const char* reply, std::size_t length, int socketIndex,
                         const std::string& sender);

// A portmapper's reply to GETPORT (RFC 1833); the record has no identity yet.
std::string Vxi11Record(const char* reply, std::size_t length, int socketIndex,
                        const std::string& sender);
// The port in such a reply; 0 when it is no accepted reply or names none.
std::uint32_t PortOfReply(const char* reply, std::size_t length);

// The same record with the fields of an answer to "*IDN?": manufacturer, model, serial number and
// firmware, separated by commas.
std::string WithIdentity(const std::string& record, const std::string& identity);
// True when a record names a serial number, which is what makes an identity tell two instruments
// apart.
bool HasSerialNumber(const std::string& record);

} // namespace uxvisa
