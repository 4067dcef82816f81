#pragma once

#include <QHash>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <optional>

namespace vantrel {

// Build-time values by key ("VeltAPIOrigin", "VeltReleasePublicKey",
// "CFBundleVersion"); a key that is not there is absent.
using InfoDictionary = QHash<QString, QString>;

// The values compiled into this build (Vantrel/BuildInfo.h.in); empty ones are left out.
InfoDictionary compiledInfoDictionary();

// What the update check needs to know about this build, read once.
struct VeltConfiguration {
    QString releasePublicKey;             // standard base64 of the 32-byte key; empty if absent
    std::optional<QString> apiOriginText; // as configured, before any checking

    static VeltConfiguration read(const InfoDictionary& info);

    // The service origin, only if it parses as a URL with the https scheme and a host.
    std::optional<QUrl> apiOrigin() const;
};

// The installed build number from "CFBundleVersion": a decimal integer with an
// optional sign, else 0, so that any valid release counts as newer.
int64_t installedBuild(const InfoDictionary& info);

} // namespace vantrel
