// Where the bytes of an answer go, piece by piece.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/uxvisa/Descriptor.h"

namespace uxvisa::tool {

class DataSink {
public:
    virtual ~DataSink() = default;
    DataSink() = default;
    DataSink(const DataSink&) = delete;
    DataSink& operator=(const DataSink&) = delete;

    // Throws a Failure when the bytes cannot be stored.
    virtual void Write(std::string_view data) = 0;
};

// Where an answer ends up.
class Output : public DataSink {
public:
    // To be called once after the last byte, also when the answer did not come to its end. Throws a
    // Failure when the bytes are not stored after all.
    virtual void Finish(bool /*isComplete*/) {}
};

class MemorySink : public Output {
public:
    void Write(std::string_view data) override { m_data += data; }
    const std::string& Data() const { return m_data; }

private:
    std::string m_data;
};

class StandardOutputSink : public Output {
public:
    void Write(std::string_view data) override { m_output.Write(data); }

private:
    Descriptor m_output = StandardOutput();
};

// Counts what passes.
class CountingSink : public DataSink {
public:
    explicit CountingSink(DataSink& next) : m_next(next) {}
    void Write(std::string_view data) override {
        m_next.Write(data);
        m_count += data.size();
    }
    std::uint64_t Count() const { return m_count; }

private:
    DataSink& m_next;
    std::uint64_t m_count = 0;
};

} // namespace uxvisa::tool
