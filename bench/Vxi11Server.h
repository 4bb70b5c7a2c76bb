// The far end of a measured VXI-11 link.
#pragma once

namespace uxvisa::bench {

// Answers each core-channel call on a connected socket, a read with a line of 64 bytes, until the
// other end closes.
void ServeVxi11(int fd);

} // namespace uxvisa::bench
