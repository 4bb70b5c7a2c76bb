// An answer in a file. What the file held before is kept when not a byte of the answer comes.
#pragma once

#include "tools/uxvisa/DataSink.h"

namespace uxvisa::tool {

class FileSink : public Output {
public:
    // Creates the file if there is none; throws a Failure when it cannot be written.
    explicit FileSink(const std::string& path);
    ~FileSink() override;
    void Write(std::string_view data) override;
    void Finish(bool isComplete) override;

private:
    void Truncate();

    Descriptor m_file;
    bool m_isOpen = true;
    bool m_isTruncated = false;
};

} // namespace uxvisa::tool
