#pragma once

#include <exception>
#include <string>

namespace vantrel {

// A JSON document that does not fit the record it should hold. what() is the
// short text shown to the user; detail() says what exactly was wrong, for tools.
class DecodingError : public std::exception {
public:
    enum class Kind {
        dataCorrupted, // not JSON, or a value that cannot be represented (an invalid URL, a huge number)
        keyNotFound,   // a required key is absent
        valueNotFound, // a required value is null
        typeMismatch,  // a value of the wrong JSON type
    };

    DecodingError(Kind kind, std::string detail) : m_kind(kind), m_detail(std::move(detail)) {}

    Kind kind() const noexcept { return m_kind; }
    const std::string& detail() const noexcept { return m_detail; }
    const char* what() const noexcept override;

private:
    Kind m_kind;
    std::string m_detail;
};

} // namespace vantrel
