#include "Vantrel/platform/GnomeMotionPreference.h"

namespace vantrel::platform {

GnomeMotionPreference::GnomeMotionPreference(QObject* parent)
    : MotionPreference(parent), m_setting([this] { reread(); }),
      m_reduceMotion(m_setting.animationsDisabled()) {}

void GnomeMotionPreference::reread() {
    const bool reduce = m_setting.animationsDisabled();
    if (reduce != m_reduceMotion) {
        m_reduceMotion = reduce;
        emit changed();
    }
}

} // namespace vantrel::platform
