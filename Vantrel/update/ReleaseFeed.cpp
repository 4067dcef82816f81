#include "Vantrel/update/ReleaseFeed.h"

#include "VantrelCore/DecodingError.h"

#include <nlohmann/json.hpp>

namespace vantrel::ReleaseFeed {

QUrl url(const QUrl& origin) {
    QUrl feed = origin;
    QString path = origin.path();
    if (!path.endsWith(QLatin1Char('/'))) {
        path += QLatin1Char('/');
    }
    feed.setPath(path + QStringLiteral("v1/releases/latest"));
    return feed;
}

std::optional<std::string> decode(std::string_view body) {
    nlohmann::json document;
    try {
        document = nlohmann::json::parse(body.begin(), body.end());
        // parse_error for malformed text, out_of_range for numbers beyond a double (1e999).
    } catch (const nlohmann::json::exception& error) {
        throw DecodingError(DecodingError::Kind::dataCorrupted,
                            std::string("not valid JSON: ") + error.what());
    }
    if (!document.is_object()) {
        throw DecodingError(DecodingError::Kind::typeMismatch, "the feed must be a JSON object");
    }
    const auto release = document.find("release");
    if (release == document.end() || release->is_null()) {
        return std::nullopt;
    }
    if (!release->is_string()) {
        throw DecodingError(DecodingError::Kind::typeMismatch, "\"release\" must be a string");
    }
    return release->get<std::string>();
}

} // namespace vantrel::ReleaseFeed
