#include "Vantrel/Logging.h"

namespace vantrel {

Q_LOGGING_CATEGORY(lcPanel, "vantrel.panel", QtInfoMsg)
Q_LOGGING_CATEGORY(lcShell, "vantrel.shell", QtInfoMsg)
Q_LOGGING_CATEGORY(lcAudio, "vantrel.audio", QtInfoMsg)

} // namespace vantrel
