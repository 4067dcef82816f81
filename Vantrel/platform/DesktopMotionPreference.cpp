#include "Vantrel/platform/DesktopMotionPreference.h"

#include "Vantrel/platform/GnomeMotionPreference.h"
#include "Vantrel/platform/KdeMotionPreference.h"

#include <algorithm>

namespace vantrel::platform {

namespace {

std::vector<std::unique_ptr<MotionPreference>> desktopSources() {
    std::vector<std::unique_ptr<MotionPreference>> sources;
    sources.push_back(std::make_unique<GnomeMotionPreference>());
    sources.push_back(std::make_unique<KdeMotionPreference>());
    return sources;
}

} // namespace

DesktopMotionPreference::DesktopMotionPreference(QObject* parent)
    : DesktopMotionPreference(desktopSources(), parent) {}

DesktopMotionPreference::DesktopMotionPreference(std::vector<std::unique_ptr<MotionPreference>> sources,
                                                 QObject* parent)
    : MotionPreference(parent), m_sources(std::move(sources)) {
    for (const auto& source : m_sources) {
        connect(source.get(), &MotionPreference::changed, this, &DesktopMotionPreference::update);
    }
    m_reduceMotion = combined();
}

DesktopMotionPreference::~DesktopMotionPreference() = default;

bool DesktopMotionPreference::combined() const {
    return std::any_of(m_sources.begin(), m_sources.end(),
                       [](const auto& source) { return source->reduceMotion(); });
}

void DesktopMotionPreference::update() {
    const bool reduce = combined();
    if (reduce != m_reduceMotion) {
        m_reduceMotion = reduce;
        emit changed();
    }
}

} // namespace vantrel::platform
