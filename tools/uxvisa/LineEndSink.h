// Takes the line end off the end of an answer.
#pragma once

#include "tools/uxvisa/DataSink.h"

namespace uxvisa::tool {

class LineEndSink : public DataSink {
public:
    enum class Removes { LineFeed, LineFeedAndReturn };

    // The replacement comes after every answer that has at least one byte, line end or not.
    LineEndSink(DataSink& next, Removes removes, std::string replacement)
        : m_next(next), m_removes(removes), m_replacement(std::move(replacement)) {}
    void Write(std::string_view data) override;
    // To be called once after the last byte.
    void Flush();

private:
    bool Holds(std::string_view tail) const;

    DataSink& m_next;
    Removes m_removes;
    std::string m_replacement;
    // The last bytes, which may turn out to be the line end.
    std::string m_held;
    bool m_isEmpty = true;
};

} // namespace uxvisa::tool
