// The header of an IEEE 488.2 block: '#', the number of length digits, the length; or "#0".
#pragma once

#include <cstddef>
#include <cstdint>

namespace uxvisa::tool {

struct BlockHeader {
    enum class Kind { Incomplete, Definite, Indefinite, Malformed };

    Kind kind = Kind::Incomplete;
    // Incomplete: how many bytes are surely still to come before the data.
    std::size_t missing = 0;
    // Definite: how many bytes of data follow.
    std::uint64_t length = 0;
};

// Looks at the first bytes of an answer.
BlockHeader ParseBlockHeader(const char* data, std::size_t size);

} // namespace uxvisa::tool
