#pragma once

#include "tools/emulator/RecordAssembler.h"
#include "tools/emulator/RecordConnection.h"

namespace emulator {

// One client of ONC RPC over TCP.
using RpcConnection = RecordConnection<RecordAssembler>;
using RpcReply = RecordReply;

} // namespace emulator
