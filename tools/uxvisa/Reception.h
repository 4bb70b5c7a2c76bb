// Takes in one answer in the way that the options ask for, and reports it.
#pragma once

#include <memory>

#include "tools/uxvisa/DataSink.h"
#include "tools/uxvisa/Options.h"
#include "tools/uxvisa/Report.h"
#include "tools/uxvisa/Session.h"
#include "tools/uxvisa/Stopwatch.h"

namespace uxvisa::tool {

class Reception {
public:
    // Opens the output, so that nothing is asked of the instrument when there is none.
    Reception(const Options& options, Report& report);
    // The time that is reported begins here, before the command is sent.
    void StartClock() { m_clock.Restart(); }
    // Whatever arrives is put out and reported before a failure is thrown.
    void Receive(Session& session);

private:
    bool IsText() const;
    std::unique_ptr<Output> MakeOutput();
    bool ExpectsBlockBehindLine() const;
    void Read(Session& session, DataSink& sink);
    void AddAnswer();

    const Options& m_options;
    Report& m_report;
    MemorySink* m_memory = nullptr;
    std::unique_ptr<Output> m_output;
    Stopwatch m_clock;
};

// The field and the note that tell how long a transfer took.
void ReportTransfer(const Options& options, Report& report, std::uint64_t bytes, double seconds);

} // namespace uxvisa::tool
