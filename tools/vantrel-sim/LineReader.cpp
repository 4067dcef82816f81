#include "LineReader.h"

namespace vantrel::sim {

LineReader::Status LineReader::next(std::string& line) {
    line.clear();
    int c = std::getc(m_stream);
    if (c == EOF) {
        return Status::end;
    }
    ++m_lineNumber;
    while (c != EOF && c != '\n') {
        if (line.size() >= m_maxLength) {
            return Status::tooLong;
        }
        line += static_cast<char>(c);
        c = std::getc(m_stream);
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return Status::line;
}

} // namespace vantrel::sim
