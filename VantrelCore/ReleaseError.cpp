#include "VantrelCore/ReleaseError.h"

namespace vantrel {

const char* ReleaseError::what() const noexcept {
    switch (m_code) {
    case Code::invalidArtifact:
        return "The update information could not be authenticated. Please try again later.";
    case Code::invalidRelease:
        return "This update could not be verified. Please try again later.";
    case Code::configurationMissing:
        return "This build of Vantrel has not been connected to the update service yet.";
    }
    return "";
}

std::string_view toString(ReleaseError::Code code) {
    switch (code) {
    case ReleaseError::Code::invalidArtifact:
        return "invalidArtifact";
    case ReleaseError::Code::invalidRelease:
        return "invalidRelease";
    case ReleaseError::Code::configurationMissing:
        return "configurationMissing";
    }
    return "";
}

} // namespace vantrel
