#include "Vantrel/platform/SessionBus.h"

#include <QByteArray>
#include <QtGlobal>

#include <sys/stat.h>

namespace vantrel::platform {

bool sessionBusKnown() {
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        return true;
    }
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    if (runtime.isEmpty()) {
        return false;
    }
    struct stat info {};
    return ::stat((runtime + "/bus").constData(), &info) == 0 && S_ISSOCK(info.st_mode);
}

} // namespace vantrel::platform
