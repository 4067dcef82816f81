#include "VantrelCore/DecodingError.h"

namespace vantrel {

const char* DecodingError::what() const noexcept {
    switch (m_kind) {
    case Kind::keyNotFound:
    case Kind::valueNotFound:
        return "The data couldn’t be read because it is missing.";
    case Kind::dataCorrupted:
    case Kind::typeMismatch:
        return "The data couldn’t be read because it isn’t in the correct format.";
    }
    return "";
}

} // namespace vantrel
