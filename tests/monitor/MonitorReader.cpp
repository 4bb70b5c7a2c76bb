// The second program of the traffic tests: a monitor in a process of its own. Says "open" as soon
// as it watches.
//   MonitorReader RESOURCE follow COUNT   counts decimal messages up, until "end" or COUNT of them;
//                                         says first, last and how many were out of turn
//   MonitorReader RESOURCE print COUNT    says each message: direction, length, status, checksum
//   MonitorReader RESOURCE hang           never reads
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "monitor/WatchedMessages.h"

using uxvisa::test::Checksum;
using uxvisa::test::Sequence;
using uxvisa::test::WatchedMessage;
using uxvisa::test::WatchedMessages;

namespace {

void Say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void Follow(WatchedMessages& messages, long most) {
    Sequence sequence;
    WatchedMessage message;
    while (sequence.Count() < most && messages.Next(message) && message.data != "end") {
        sequence.Take(message.data);
    }
    Say(std::to_string(sequence.First()) + " " + std::to_string(sequence.Last()) + " " +
        std::to_string(sequence.OutOfTurn()));
}

void Print(WatchedMessages& messages, long most) {
    WatchedMessage message;
    for (long count = 0; count < most && messages.Next(message); ++count) {
        Say((message.written ? "-> " : "<- ") + std::to_string(message.data.size()) + " " +
            std::to_string(message.status) + " " + std::to_string(Checksum(message.data)));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    WatchedMessages messages;
    if (messages.Open(argv[1]) != 0) {
        return 1;
    }
    Say("open");
    const std::string mode = argv[2];
    const long count = argc > 3 ? std::atol(argv[3]) : 0;
    if (mode == "follow") {
        Follow(messages, count);
    } else if (mode == "print") {
        Print(messages, count);
    } else {
        pause();
    }
    return 0;
}
