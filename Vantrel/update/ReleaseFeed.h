#pragma once

#include <QUrl>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// The update service's answer to "v1/releases/latest": a JSON object whose
// member "release" holds a signed release artifact, or is null or absent when
// there is nothing to offer.
namespace vantrel::ReleaseFeed {

inline constexpr std::size_t maximumBodyBytes = 20'000;

// The feed's address under the service origin: its path with the component
// "v1/releases/latest" appended ("https://h/api" -> "https://h/api/v1/releases/latest").
QUrl url(const QUrl& origin);

// The artifact text, or nullopt when the service has no release. Throws
// DecodingError for a body that is not such an object.
std::optional<std::string> decode(std::string_view body);

} // namespace vantrel::ReleaseFeed
