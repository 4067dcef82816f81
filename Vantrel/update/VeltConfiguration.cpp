#include "Vantrel/update/VeltConfiguration.h"

#include "Vantrel/BuildInfo.h"

#include <charconv>
#include <string>

namespace vantrel {

InfoDictionary compiledInfoDictionary() {
    InfoDictionary info;
    for (const BuildInfo::Entry& entry : BuildInfo::entries) {
        if (!entry.value.empty()) {
            info.insert(QString::fromUtf8(entry.key.data(), static_cast<qsizetype>(entry.key.size())),
                        QString::fromUtf8(entry.value.data(), static_cast<qsizetype>(entry.value.size())));
        }
    }
    return info;
}

VeltConfiguration VeltConfiguration::read(const InfoDictionary& info) {
    VeltConfiguration configuration;
    configuration.releasePublicKey = info.value(QStringLiteral("VeltReleasePublicKey"));
    const auto origin = info.constFind(QStringLiteral("VeltAPIOrigin"));
    if (origin != info.constEnd()) {
        configuration.apiOriginText = origin.value();
    }
    return configuration;
}

std::optional<QUrl> VeltConfiguration::apiOrigin() const {
    if (!apiOriginText) {
        return std::nullopt;
    }
    const QUrl url(*apiOriginText, QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != QLatin1String("https") || url.host().isEmpty()) {
        return std::nullopt;
    }
    return url;
}

int64_t installedBuild(const InfoDictionary& info) {
    const auto found = info.constFind(QStringLiteral("CFBundleVersion"));
    if (found == info.constEnd()) {
        return 0;
    }
    std::string text = found.value().toStdString();
    if (!text.empty() && text.front() == '+') {
        text.erase(0, 1);
        if (!text.empty() && text.front() == '-') {
            return 0;
        }
    }
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return 0;
    }
    return value;
}

} // namespace vantrel
