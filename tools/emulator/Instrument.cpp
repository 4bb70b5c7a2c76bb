#include "tools/emulator/Instrument.h"

#include "tools/emulator/Command.h"
#include "tools/emulator/Noise.h"
#include "tools/emulator/Number.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace emulator {

namespace {

constexpr std::uint8_t OperationComplete = 1U << 0U;
constexpr std::uint8_t ErrorAvailable = 1U << 2U;
constexpr std::uint8_t EventSummary = 1U << 5U;
constexpr std::uint8_t MasterSummary = 1U << 6U;

constexpr double RelativeResolution = 1e-6;
constexpr double UsualFrequency = 1000.0;

// Enough to give back any frequency of up to 15 digits as it was set.
constexpr int FrequencyDecimals = 14;

bool IsKeyword(std::string_view text) {
    const char first = text.front();
    return (first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z');
}

Reply Count(std::size_t value) {
    return Reply::Text(std::to_string(value));
}

} // namespace

Instrument::Instrument(const InstrumentSettings& settings) : m_initial(settings) {
    Reset({});
}

const std::vector<Instrument::Operation>& Instrument::Operations() {
    static const std::vector<Operation> operations = {
        {"*IDN", true, 0, 0, &Instrument::Identify},
        {"*RST", false, 0, 0, &Instrument::Reset},
        {"*CLS", false, 0, 0, &Instrument::ClearStatus},
        {"*OPC", false, 0, 0, &Instrument::CompleteOperation},
        {"*OPC", true, 0, 0, &Instrument::QueryCompletion},
        {"*ESR", true, 0, 0, &Instrument::QueryEvents},
        {"*ESE", false, 1, 1, &Instrument::SetEventEnable},
        {"*ESE", true, 0, 0, &Instrument::QueryEventEnable},
        {"*STB", true, 0, 0, &Instrument::QueryStatusByte},
        {"*SRE", false, 1, 1, &Instrument::SetServiceEnable},
        {"*SRE", true, 0, 0, &Instrument::QueryServiceEnable},
        {"*TST", true, 0, 0, &Instrument::TestItself},
        {"*WAI", false, 0, 0, &Instrument::Wait},
        {"SYSTem:ERRor[:NEXT]", true, 0, 0, &Instrument::QueryError},
        {"SYSTem:ERRor:COUNt", true, 0, 0, &Instrument::QueryErrorCount},
        {"SYSTem:VERSion", true, 0, 0, &Instrument::QueryLanguageVersion},
        {"MEASure:VOLTage[:DC]", true, 0, 2, &Instrument::Measure},
        {"CONFigure:VOLTage[:DC]", false, 0, 2, &Instrument::Configure},
        {"CONFigure", true, 0, 0, &Instrument::QueryConfiguration},
        {"INITiate[:IMMediate]", false, 0, 0, &Instrument::Initiate},
        {"READ", true, 0, 0, &Instrument::Read},
        {"FETCh", true, 0, 0, &Instrument::Fetch},
        {"TRACe:DATA", true, 0, 0, &Instrument::QueryTrace},
        {"TRACe:POINts", false, 1, 1, &Instrument::SetTracePoints},
        {"TRACe:POINts", true, 0, 0, &Instrument::QueryTracePoints},
        {"CURVe", true, 0, 0, &Instrument::QueryCurve},
        {"CURVe:LENGth", false, 1, 1, &Instrument::SetCurveLength},
        {"CURVe:LENGth", true, 0, 0, &Instrument::QueryCurveLength},
        {"SOURce:FREQuency", false, 1, 1, &Instrument::SetFrequency},
        {"SOURce:FREQuency", true, 0, 0, &Instrument::QueryFrequency},
    };
    return operations;
}

const Instrument::Operation* Instrument::Find(std::string_view header, bool query) {
    const auto& operations = Operations();
    const auto found =
        std::find_if(operations.begin(), operations.end(), [&](const Operation& operation) {
            return operation.query == query && MatchesHeader(operation.pattern, header);
        });
    return found == operations.end() ? nullptr : &*found;
}

Reply Instrument::Perform(const Operation& operation, const Parameters& parameters) {
    if (parameters.size() < operation.least_parameters) {
        Report(ErrorCode::MissingParameter);
        return {};
    }
    if (parameters.size() > operation.most_parameters) {
        Report(ErrorCode::ParameterNotAllowed);
        return {};
    }
    return (this->*operation.perform)(parameters);
}

void Instrument::Report(ErrorCode code) {
    m_errors.Push(code);
    m_events |= EventBit(code);
}

std::uint8_t Instrument::StatusByte() const {
    std::uint8_t status = m_errors.Empty() ? 0 : ErrorAvailable;
    status |= (m_events & m_event_enable) != 0 ? EventSummary : 0;
    status |= (status & m_service_enable) != 0 ? MasterSummary : 0;
    return status;
}

std::optional<double> Instrument::TakeNumber(std::string_view text, const Limits& limits) {
    if (MatchesMnemonic("MINimum", text)) {
        return limits.least;
    }
    if (MatchesMnemonic("MAXimum", text)) {
        return limits.most;
    }
    if (MatchesMnemonic("DEFault", text)) {
        return limits.usual;
    }
    double value = 0.0;
    ErrorCode outcome = ParseNumber(text, value);
    if (outcome == ErrorCode::DataTypeError && IsKeyword(text)) {
        outcome = ErrorCode::IllegalParameterValue;
    }
    if (outcome == ErrorCode::NoError && (value < limits.least || value > limits.most)) {
        outcome = ErrorCode::DataOutOfRange;
    }
    if (outcome != ErrorCode::NoError) {
        Report(outcome);
        return std::nullopt;
    }
    return value;
}

std::optional<std::size_t> Instrument::TakeCount(std::string_view text, const Limits& limits) {
    const std::optional<double> value = TakeNumber(text, limits);
    if (!value) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(std::llround(*value));
}

void Instrument::TakeRegister(std::string_view text, std::uint8_t& target) {
    if (const auto value = TakeCount(text, {0, 255, 0})) {
        target = static_cast<std::uint8_t>(*value);
    }
}

Reply Instrument::Identify(const Parameters&) {
    const Identity& identity = m_initial.identity;
    std::string text = Identity::Manufacturer;
    text.append(",").append(identity.model).append(",").append(identity.serial);
    return Reply::Text(text.append("," UXVISA_VERSION));
}

Reply Instrument::Reset(const Parameters&) {
    m_reading.reset();
    TakeConfiguration({});
    m_frequency = UsualFrequency;
    m_curve_length = m_initial.curve_length;
    m_trace_points = m_initial.trace_points;
    return {};
}

Reply Instrument::ClearStatus(const Parameters&) {
    m_errors.Clear();
    m_events = 0;
    return {};
}

Reply Instrument::CompleteOperation(const Parameters&) {
    m_events |= OperationComplete;
    return {};
}

Reply Instrument::QueryCompletion(const Parameters&) {
    return Count(1);
}

Reply Instrument::QueryEvents(const Parameters&) {
    const std::uint8_t events = m_events;
    m_events = 0;
    return Count(events);
}

Reply Instrument::SetEventEnable(const Parameters& parameters) {
    TakeRegister(parameters[0], m_event_enable);
    return {};
}

Reply Instrument::QueryEventEnable(const Parameters&) {
    return Count(m_event_enable);
}

Reply Instrument::QueryStatusByte(const Parameters&) {
    return Count(StatusByte());
}

Reply Instrument::SetServiceEnable(const Parameters& parameters) {
    TakeRegister(parameters[0], m_service_enable);
    // The summary of the register cannot be one of its own causes.
    m_service_enable &= static_cast<std::uint8_t>(~MasterSummary);
    return {};
}

Reply Instrument::QueryServiceEnable(const Parameters&) {
    return Count(m_service_enable);
}

Reply Instrument::TestItself(const Parameters&) {
    return Count(0);
}

// Every command is finished before the next one starts.
Reply Instrument::Wait(const Parameters&) {
    return {};
}

Reply Instrument::QueryError(const Parameters&) {
    const ErrorCode code = m_errors.Pop();
    std::string text = std::to_string(static_cast<int>(code));
    text.append(",\"").append(ErrorText(code)).append("\"");
    return Reply::Text(std::move(text));
}

Reply Instrument::QueryErrorCount(const Parameters&) {
    return Count(m_errors.Count());
}

Reply Instrument::QueryLanguageVersion(const Parameters&) {
    return Reply::Text("1999.0");
}

Reply Instrument::Measure(const Parameters& parameters) {
    return TakeConfiguration(parameters) ? Read({}) : Reply();
}

Reply Instrument::Configure(const Parameters& parameters) {
    TakeConfiguration(parameters);
    return {};
}

bool Instrument::TakeConfiguration(const Parameters& parameters) {
    const Limits ranges{0.1, 1000.0, 10.0};
    const bool automatic = parameters.empty() || MatchesMnemonic("AUTO", parameters[0]);
    const auto range = TakeNumber(automatic ? "DEF" : parameters[0], ranges);
    if (!range) {
        return false;
    }
    const Limits resolutions{*range * 1e-7, *range * 1e-3, *range * RelativeResolution};
    const auto resolution = TakeNumber(parameters.size() < 2 ? "DEF" : parameters[1], resolutions);
    if (!resolution) {
        return false;
    }
    m_range = *range;
    m_resolution = *resolution;
    m_reading.reset();
    return true;
}

Reply Instrument::QueryConfiguration(const Parameters&) {
    return Reply::Text("\"VOLT " + FormatNumber(m_range) + "," + FormatNumber(m_resolution) + "\"");
}

Reply Instrument::Initiate(const Parameters&) {
    m_reading = 1.0 + 0.001 * Noise(m_initial.seed, m_readings_taken++);
    return {};
}

Reply Instrument::Read(const Parameters& parameters) {
    Initiate(parameters);
    return Fetch(parameters);
}

Reply Instrument::Fetch(const Parameters&) {
    if (!m_reading) {
        Report(ErrorCode::DataCorruptOrStale);
        return {};
    }
    return Reply::Text(FormatNumber(*m_reading));
}

Reply Instrument::QueryTrace(const Parameters&) {
    return Reply::Trace(m_trace_points, m_initial.seed);
}

Reply Instrument::SetTracePoints(const Parameters& parameters) {
    const Limits limits{1.0, double{InstrumentSettings::MaxTracePoints},
                        static_cast<double>(m_initial.trace_points)};
    m_trace_points = TakeCount(parameters[0], limits).value_or(m_trace_points);
    return {};
}

Reply Instrument::QueryTracePoints(const Parameters&) {
    return Count(m_trace_points);
}

Reply Instrument::QueryCurve(const Parameters&) {
    return Reply::Block(m_curve_length);
}

Reply Instrument::SetCurveLength(const Parameters& parameters) {
    const Limits limits{0.0, double{InstrumentSettings::MaxCurveLength},
                        static_cast<double>(m_initial.curve_length)};
    m_curve_length = TakeCount(parameters[0], limits).value_or(m_curve_length);
    return {};
}

Reply Instrument::QueryCurveLength(const Parameters&) {
    return Count(m_curve_length);
}

Reply Instrument::SetFrequency(const Parameters& parameters) {
    m_frequency = TakeNumber(parameters[0], {0.001, 1e10, UsualFrequency}).value_or(m_frequency);
    return {};
}

Reply Instrument::QueryFrequency(const Parameters&) {
    return Reply::Text(FormatNumber(m_frequency, FrequencyDecimals));
}

} // namespace emulator
