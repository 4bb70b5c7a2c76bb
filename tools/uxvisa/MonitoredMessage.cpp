#include "tools/uxvisa/MonitoredMessage.h"

#include <nlohmann/json.hpp>

#include <ctime>

#include "tools/uxvisa/Base64.h"
#include "tools/uxvisa/EscapedText.h"
#include "tools/uxvisa/HexView.h"
#include "tools/uxvisa/Report.h"
#include "tools/uxvisa/StatusTable.h"

namespace uxvisa::tool {

namespace {

using Kind = MonitoredMessage::Kind;
using Json = nlohmann::ordered_json;

// The pieces of a message come within 200 ms of each other; a silence is 100 ms.
constexpr int SilencesThatEnd = 5;

Kind KindOf(const MonitorReading& reading) {
    return reading.place.written ? Kind::Written : Kind::Read;
}

std::string Stamp(std::chrono::system_clock::time_point time, const char* form,
                  std::tm* (*broken)(const std::time_t*, std::tm*)) {
    using namespace std::chrono;
    const auto sinceEpoch = floor<milliseconds>(time.time_since_epoch());
    const auto wholeSeconds = floor<seconds>(sinceEpoch);
    const std::time_t clock = wholeSeconds.count();
    std::tm parts{};
    broken(&clock, &parts);
    char text[32] = {};
    std::strftime(text, sizeof text, form, &parts);
    const std::string fraction = std::to_string(1000 + (sinceEpoch - wholeSeconds).count());
    return std::string(text) + '.' + fraction.substr(1);
}

std::string StatusWord(ViStatus status) {
    const StatusEntry* entry = FindStatus(status);
    return entry == nullptr ? StatusNumber(status) : std::string(entry->name);
}

std::string DirectionWord(Kind kind) {
    return kind == Kind::Written ? "write" : kind == Kind::Read ? "read" : "clear";
}

void AddBytes(Json& fields, const std::string& data, MessageForm form) {
    if (form == MessageForm::Hex) {
        fields["hex"] = HexBytes(data, "");
        return;
    }
    fields["text"] = data;
    if (!IsUtf8(data)) {
        fields["base64"] = Base64(data);
    }
}

} // namespace

std::vector<MonitoredMessage> MessageAssembler::Take(const MonitorReading& reading) {
    std::vector<MonitoredMessage> messages;
    if (reading.data.empty()) {
        TakeEmpty(reading, messages);
    } else {
        TakePiece(reading, messages);
    }
    return messages;
}

void MessageAssembler::TakePiece(const MonitorReading& reading,
                                 std::vector<MonitoredMessage>& messages) {
    m_emptyStatus.reset();
    m_silences = 0;
    if (!reading.place.continues) {
        Flush(messages);
    }
    if (!m_begun) {
        // The start of one that was already under way has gone by.
        const bool isCutShort = reading.place.continues;
        m_begun = {KindOf(reading), reading.time, "", reading.status, isCutShort};
    }
    m_begun->data += reading.data;
    m_begun->status = reading.status;
    if (!reading.place.goesOn) {
        messages.push_back(*std::move(m_begun));
        m_begun.reset();
    }
}

// The turn of the direction, which looks like a read that ran out of time, shows by the next
// message anyway.
void MessageAssembler::TakeEmpty(const MonitorReading& reading,
                                 std::vector<MonitoredMessage>& messages) {
    if (reading.status == VI_ERROR_RSRC_BUSY) {
        if (++m_silences >= SilencesThatEnd) {
            Flush(messages);
        }
        return;
    }
    if (reading.status == VI_ERROR_TMO || m_emptyStatus == reading.status) {
        return;
    }
    Flush(messages);
    const bool isClear = reading.status == VI_ERROR_ABORT;
    m_emptyStatus = isClear ? std::nullopt : std::optional(reading.status);
    messages.push_back({isClear ? Kind::Cleared : KindOf(reading), reading.time, "",
                        isClear ? VI_SUCCESS : reading.status, false});
}

void MessageAssembler::Flush(std::vector<MonitoredMessage>& messages) {
    if (std::optional<MonitoredMessage> rest = Rest()) {
        messages.push_back(*std::move(rest));
    }
}

std::optional<MonitoredMessage> MessageAssembler::Rest() {
    std::optional<MonitoredMessage> rest = std::move(m_begun);
    m_begun.reset();
    if (rest) {
        rest->isCutShort = true;
    }
    return rest;
}

std::string TextOf(const MonitoredMessage& message, MessageForm form) {
    std::string text = Stamp(message.time, "%H:%M:%S", ::localtime_r);
    if (message.kind == Kind::Cleared) {
        return text + " -> clear\n";
    }
    text += message.kind == Kind::Written ? " -> " : " <- ";
    text += std::to_string(message.data.size());
    text += form == MessageForm::Text ? ' ' + EscapedText(message.data) : "";
    text += message.status < VI_SUCCESS ? ' ' + StatusWord(message.status) : "";
    text += message.isCutShort ? " (not all of it)\n" : "\n";
    if (form == MessageForm::Hex) {
        for (const std::string& line : HexLines(message.data)) {
            text += "  " + line + '\n';
        }
    }
    return text;
}

std::string JsonOf(const MonitoredMessage& message, MessageForm form) {
    Json fields;
    fields["time"] = Stamp(message.time, "%Y-%m-%dT%H:%M:%S", ::gmtime_r) + 'Z';
    fields["direction"] = DirectionWord(message.kind);
    fields["length"] = message.data.size();
    AddBytes(fields, message.data, form);
    fields["status"] = StatusWord(message.status);
    fields["code"] = StatusNumber(message.status);
    fields["complete"] = !message.isCutShort;
    return fields.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace uxvisa::tool
