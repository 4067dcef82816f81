#pragma once

#include <cstdio>
#include <string>

namespace vantrel::sim {

// Reads a stream line by line without ever holding more than `maxLength`
// bytes of one line, so a huge or binary input cannot exhaust memory.
class LineReader {
public:
    enum class Status { line, tooLong, end };

    LineReader(std::FILE* stream, std::size_t maxLength) : m_stream(stream), m_maxLength(maxLength) {}

    // Fills `line` (without the newline or a trailing carriage return).
    Status next(std::string& line);
    long lineNumber() const { return m_lineNumber; }

private:
    std::FILE* m_stream;
    std::size_t m_maxLength;
    long m_lineNumber = 0;
};

} // namespace vantrel::sim
