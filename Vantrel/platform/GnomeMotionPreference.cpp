#include "Vantrel/platform/GnomeMotionPreference.h"

#include "Vantrel/platform/ReduceMotion.h"

namespace vantrel::platform {

GnomeMotionPreference::GnomeMotionPreference(QObject* parent)
    : MotionPreference(parent), m_reduceMotion(gnomeAnimationsDisabled()) {}

} // namespace vantrel::platform
