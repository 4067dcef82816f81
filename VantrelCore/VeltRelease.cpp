#include "VantrelCore/VeltRelease.h"

#include "VantrelCore/DecodingError.h"
#include "VantrelCore/ReleaseError.h"
#include "VantrelCore/ReleasePatterns.h"
#include "VantrelCore/Sha256.h"
#include "VantrelCore/SignedArtifact.h"

#include <nlohmann/json.hpp>
#include <uriparser/Uri.h>

#include <charconv>
#include <limits>
#include <vector>

namespace vantrel {

namespace {

using Json = nlohmann::json;

const Json& member(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) {
        throw DecodingError(DecodingError::Kind::keyNotFound, std::string("key \"") + key + "\" is missing");
    }
    if (found->is_null()) {
        throw DecodingError(DecodingError::Kind::valueNotFound, std::string("\"") + key + "\" is null");
    }
    return *found;
}

std::string textMember(const Json& object, const char* key) {
    const Json& value = member(object, key);
    if (!value.is_string()) {
        throw DecodingError(DecodingError::Kind::typeMismatch,
                            std::string("\"") + key + "\" must be a string");
    }
    return value.get<std::string>();
}

int64_t integerMember(const Json& object, const char* key) {
    const Json& value = member(object, key);
    if (!value.is_number_integer()) {
        throw DecodingError(DecodingError::Kind::typeMismatch,
                            std::string("\"") + key + "\" must be a whole number");
    }
    if (value.is_number_unsigned() &&
        value.get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, std::string("\"") + key + "\" is too large");
    }
    return value.get<int64_t>();
}

// The parts of a URL the rules look at; nullopt when the text is not a URL.
struct UrlParts {
    std::string scheme;
    bool hasHost = false;
    bool hasUserInfo = false; // a user name, a password, or an empty "@"
};

std::optional<UrlParts> parseUrl(std::string_view text) {
    if (text.empty()) {
        return std::nullopt;
    }
    UriUriA uri;
    const char* errorAt = nullptr;
    if (uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &errorAt) != URI_SUCCESS) {
        return std::nullopt;
    }
    UrlParts parts;
    if (uri.scheme.first != nullptr) {
        parts.scheme.assign(uri.scheme.first, uri.scheme.afterLast);
    }
    parts.hasHost = uri.hostText.first != nullptr && uri.hostText.first != uri.hostText.afterLast;
    parts.hasUserInfo = uri.userInfo.first != nullptr;
    uriFreeUriMembersA(&uri);
    return parts;
}

// Unicode scalar values in UTF-8 text: every byte that does not continue a sequence.
std::size_t characterCount(std::string_view text) {
    std::size_t count = 0;
    for (const char c : text) {
        if ((static_cast<unsigned char>(c) & 0xc0) != 0x80) {
            ++count;
        }
    }
    return count;
}

// A component of minimumOS as an integer: optional sign, decimal digits, in range.
std::optional<int64_t> integerComponent(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') {
            return std::nullopt;
        }
    }
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

VeltRelease VeltRelease::verify(std::string_view artifact, std::string_view publicKey) {
    VeltRelease release = SignedArtifact::decode<VeltRelease>(artifact, artifactPrefix, publicKey);
    if (release.brokenRule()) {
        throw ReleaseError::invalidRelease();
    }
    return release;
}

VeltRelease VeltRelease::fromJson(std::string_view json) {
    Json document;
    try {
        document = Json::parse(json.begin(), json.end());
        // parse_error for malformed text, out_of_range for numbers beyond a double (1e999).
    } catch (const Json::exception& error) {
        throw DecodingError(DecodingError::Kind::dataCorrupted,
                            std::string("not valid JSON: ") + error.what());
    }
    if (!document.is_object()) {
        throw DecodingError(DecodingError::Kind::typeMismatch, "the release must be a JSON object");
    }
    VeltRelease release;
    release.schema = integerMember(document, "schema");
    release.product = textMember(document, "product");
    release.version = textMember(document, "version");
    release.build = integerMember(document, "build");
    release.minimumOS = textMember(document, "minimumOS");
    release.downloadURL = textMember(document, "downloadURL");
    if (!parseUrl(release.downloadURL)) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, "\"downloadURL\" is not a valid URL");
    }
    release.sha256 = textMember(document, "sha256");
    release.bytes = integerMember(document, "bytes");
    release.notes = textMember(document, "notes");
    return release;
}

std::string VeltRelease::toJson(int indent) const {
    nlohmann::ordered_json object;
    object["schema"] = schema;
    object["product"] = product;
    object["version"] = version;
    object["build"] = build;
    object["minimumOS"] = minimumOS;
    object["downloadURL"] = downloadURL;
    object["sha256"] = sha256;
    object["bytes"] = bytes;
    object["notes"] = notes;
    return object.dump(indent, ' ', false, Json::error_handler_t::replace);
}

std::optional<std::string> VeltRelease::brokenRule() const {
    if (schema != 1) {
        return "schema must be 1";
    }
    if (product != "velt") {
        return "product must be \"velt\"";
    }
    if (build < 1) {
        return "build must be at least 1";
    }
    if (!ReleasePatterns::isVersion(version)) {
        return "version must be three dot-separated numbers, like 1.4.0";
    }
    if (!ReleasePatterns::isMinimumSystem(minimumOS)) {
        return "minimumOS must be two or three dot-separated numbers, like 6.1 or 6.1.0";
    }
    const std::optional<UrlParts> url = parseUrl(downloadURL);
    if (!url || url->scheme != "https") {
        return "downloadURL must use the https scheme";
    }
    if (!url->hasHost) {
        return "downloadURL must name a host";
    }
    if (url->hasUserInfo) {
        return "downloadURL must not carry a user name or password";
    }
    if (!ReleasePatterns::isLowerHexSha256(sha256)) {
        return "sha256 must be 64 lower-case hexadecimal digits";
    }
    if (bytes < 1 || bytes > maximumBytes) {
        return "bytes must be from 1 to 200000000";
    }
    if (characterCount(notes) > maximumNotesLength) {
        return "notes must be at most 10000 characters";
    }
    return std::nullopt;
}

bool VeltRelease::isCompatible(const SystemVersion& system) const {
    std::vector<int64_t> required;
    std::size_t start = 0;
    while (start <= minimumOS.size()) {
        std::size_t dot = minimumOS.find('.', start);
        if (dot == std::string::npos) {
            dot = minimumOS.size();
        }
        if (dot > start) {
            if (const auto value = integerComponent(std::string_view(minimumOS).substr(start, dot - start))) {
                required.push_back(*value);
            }
        }
        start = dot + 1;
    }
    required.resize(std::max<std::size_t>(required.size(), 3), 0);
    const int64_t running[3] = {system.majorVersion, system.minorVersion, system.patchVersion};
    for (int i = 0; i < 3; ++i) {
        if (required[i] != running[i]) {
            return required[i] < running[i];
        }
    }
    return true;
}

void VeltRelease::verifyDownload(std::string_view data) const {
    if (static_cast<uint64_t>(data.size()) != static_cast<uint64_t>(bytes) || bytes < 0) {
        throw ReleaseError::invalidRelease();
    }
    if (Sha256::hex(data) != sha256) {
        throw ReleaseError::invalidRelease();
    }
}

} // namespace vantrel
