#pragma once

#include "tools/emulator/ErrorQueue.h"
#include "tools/emulator/Reply.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace emulator {

struct Identity {
    static constexpr const char* Manufacturer = "Orvane";

    std::string model = "Emulator"; // without commas
    std::string serial = "0";       // without commas and blanks
};

struct InstrumentSettings {
    static constexpr std::size_t MaxCurveLength = 268435456;
    static constexpr std::size_t MaxTracePoints = 1000000;

    std::uint64_t seed = 1;
    std::size_t curve_length = 1000;
    std::size_t trace_points = 100;
    Identity identity{};
};

// One box that all clients share: its settings, its error queue and its status registers. It knows
// nothing of transports and must be used from one thread at a time.
class Instrument {
public:
    using Parameters = std::vector<std::string_view>;
    struct Operation;

    explicit Instrument(const InstrumentSettings& settings = {});

    // Returns null for a header that is not known. The header is a full path.
    static const Operation* Find(std::string_view header, bool query);

    // Errors go to the error queue and leave the reply empty.
    Reply Perform(const Operation& operation, const Parameters& parameters);

    void Report(ErrorCode code);
    std::uint8_t StatusByte() const;

private:
    struct Limits {
        double least;
        double most;
        double usual;
    };
    static const std::vector<Operation>& Operations();

    std::optional<double> TakeNumber(std::string_view text, const Limits& limits);
    std::optional<std::size_t> TakeCount(std::string_view text, const Limits& limits);
    void TakeRegister(std::string_view text, std::uint8_t& target);

    Reply Identify(const Parameters&);
    Reply Reset(const Parameters&);
    Reply ClearStatus(const Parameters&);
    Reply CompleteOperation(const Parameters&);
    Reply QueryCompletion(const Parameters&);
    Reply QueryEvents(const Parameters&);
    Reply SetEventEnable(const Parameters& parameters);
    Reply QueryEventEnable(const Parameters&);
    Reply QueryStatusByte(const Parameters&);
    Reply SetServiceEnable(const Parameters& parameters);
    Reply QueryServiceEnable(const Parameters&);
    Reply TestItself(const Parameters&);
    Reply Wait(const Parameters&);
    Reply QueryError(const Parameters&);
    Reply QueryErrorCount(const Parameters&);
    Reply QueryLanguageVersion(const Parameters&);
    Reply Measure(const Parameters& parameters);
    Reply Configure(const Parameters& parameters);
    Reply QueryConfiguration(const Parameters&);
    Reply Initiate(const Parameters&);
    Reply Read(const Parameters& parameters);
    Reply Fetch(const Parameters&);
    Reply QueryTrace(const Parameters&);
    Reply SetTracePoints(const Parameters& parameters);
    Reply QueryTracePoints(const Parameters&);
    Reply QueryCurve(const Parameters&);
    Reply SetCurveLength(const Parameters& parameters);
    Reply QueryCurveLength(const Parameters&);
    Reply SetFrequency(const Parameters& parameters);
    Reply QueryFrequency(const Parameters&);

    bool TakeConfiguration(const Parameters& parameters);

    const InstrumentSettings m_initial;
    ErrorQueue m_errors;
    std::uint8_t m_events = 0;
    std::uint8_t m_event_enable = 0;
    std::uint8_t m_service_enable = 0;
    std::uint64_t m_readings_taken = 0;
    std::optional<double> m_reading;
    double m_range = 0.0;
    double m_resolution = 0.0;
    double m_frequency = 0.0;
    std::size_t m_curve_length = 0;
    std::size_t m_trace_points = 0;
};

struct Instrument::Operation {
    std::string_view pattern;
    bool query;
    std::size_t least_parameters;
    std::size_t most_parameters;
    Reply (Instrument::*perform)(const Parameters&);
};

} // namespace emulator
