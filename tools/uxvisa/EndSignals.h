// The signals that ask this program to end, taken as news instead of being handled.
#pragma once

#include <csignal>
#include <string_view>

#include "tools/uxvisa/Descriptor.h"

namespace uxvisa::tool {

// SIGINT, SIGTERM and SIGHUP are held back from here on and end nothing. To be made before threads
// are started. One that the program was started with as ignored stays so.
class EndSignals {
public:
    EndSignals();
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    // True from the first of them on.
    bool HaveCome() const;
    // Writes all of it, or as much as the reader takes until one of them comes.
    void WriteUntil(const Descriptor& output, std::string_view data) const;

private:
    bool AwaitRoom(int descriptor) const;

    sigset_t m_before{};
    int m_news;
};

} // namespace uxvisa::tool
