// Keeps what the library and driver libraries print out of this program's own output.
#pragma once

namespace uxvisa::tool {

// While it lives, whatever any thread of the process writes to standard output goes elsewhere.
// Diversions may be nested, and are undone in the reverse order.
class OutputDiversion {
public:
    enum class Target { Nowhere, StandardError };

    // Throws a Failure when there is no descriptor left for it.
    explicit OutputDiversion(Target target);
    ~OutputDiversion();
    OutputDiversion(const OutputDiversion&) = delete;
    OutputDiversion& operator=(const OutputDiversion&) = delete;

private:
    int m_output;
};

} // namespace uxvisa::tool
