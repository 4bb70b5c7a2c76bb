#include "tools/uxvisa/Reception.h"

#include <cmath>
#include <optional>

#include "tools/uxvisa/AnswerReader.h"
#include "tools/uxvisa/Base64.h"
#include "tools/uxvisa/BlockReader.h"
#include "tools/uxvisa/FileSink.h"
#include "tools/uxvisa/LineEndSink.h"
#include "tools/uxvisa/Quantity.h"

namespace uxvisa::tool {

Reception::Reception(const Options& options, Report& report)
    : m_options(options), m_report(report), m_output(MakeOutput()) {}

bool Reception::IsText() const {
    return m_options.outputFile.empty() && !m_options.block && !m_options.count;
}

std::unique_ptr<Output> Reception::MakeOutput() {
    if (!m_options.outputFile.empty()) {
        return std::make_unique<FileSink>(m_options.outputFile);
    }
    if (m_report.IsJson()) {
        auto memory = std::make_unique<MemorySink>();
        m_memory = memory.get();
        return memory;
    }
    return std::make_unique<StandardOutputSink>();
}

void Reception::Receive(Session& session) {
    LineEndSink line(*m_output, LineEndSink::Removes::LineFeedAndReturn,
                     m_report.IsJson() ? "" : "\n");
    CountingSink sink(IsText() ? static_cast<DataSink&>(line) : *m_output);
    std::optional<InstrumentFailure> failure;
    try {
        Read(session, sink);
    } catch (const InstrumentFailure& reason) {
        failure = reason;
    }
    const double seconds = m_clock.Seconds();
    line.Flush();
    m_output->Finish(!failure);
    AddAnswer();
    ReportTransfer(m_options, m_report, sink.Count(), seconds);
    if (failure) {
        throw InstrumentFailure(*failure);
    }
}

// In this mode a session of the binary command protocol hands out blocks behind lines.
bool Reception::ExpectsBlockBehindLine() const {
    constexpr ViUInt32 BlockMode = 2;
    return m_options.decodeMode == BlockMode && !m_options.raw && !m_options.count;
}

void Reception::Read(Session& session, DataSink& sink) {
    const bool endsAtLineFeed = m_options.termChar && !m_options.raw;
    if (ExpectsBlockBehindLine()) {
        ReadLineAndBlock(session, sink, m_options.block);
    } else if (m_options.block) {
        BlockReader(session, sink).Read();
    } else if (m_options.count) {
        session.EnableTermChar(endsAtLineFeed);
        ReadCount(session, sink, *m_options.count);
    } else if (endsAtLineFeed) {
        ReadLine(session, sink);
    } else {
        ReadUntilSilence(session, sink);
    }
}

// Bytes that are no UTF-8 would be replaced in a JSON text, so they are also given untouched.
void Reception::AddAnswer() {
    if (!m_options.outputFile.empty()) {
        m_report.AddField("file", m_options.outputFile);
    }
    if (m_memory == nullptr) {
        return;
    }
    if (!m_options.block) {
        m_report.AddField("response", m_memory->Data());
    }
    if (m_options.block || !IsUtf8(m_memory->Data())) {
        m_report.AddField("base64", Base64(m_memory->Data()));
    }
}

void ReportTransfer(const Options& options, Report& report, std::uint64_t bytes, double seconds) {
    report.AddField("bytes", bytes);
    report.AddField("elapsed_ms", std::round(seconds * 1e6) / 1e3);
    if (options.time) {
        Report::Note(options.resource, Duration(seconds) + ", " + std::to_string(bytes) +
                                           " bytes, " + ByteRate(bytes, seconds));
    }
}

} // namespace uxvisa::tool
