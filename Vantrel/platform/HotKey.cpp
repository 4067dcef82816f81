#include "Vantrel/platform/HotKey.h"

namespace vantrel::platform {

bool NullHotKey::grab(QString* error) {
    *error = QStringLiteral("global shortcuts are not available on this platform");
    return false;
}

} // namespace vantrel::platform
