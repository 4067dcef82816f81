#pragma once

#include <QLoggingCategory>

namespace vantrel {

// Off unless turned on, e.g. QT_LOGGING_RULES="vantrel.*.debug=true": a trace of
// what the panel, the shell and the sound were asked to do and what they did.
Q_DECLARE_LOGGING_CATEGORY(lcPanel)
Q_DECLARE_LOGGING_CATEGORY(lcShell)
Q_DECLARE_LOGGING_CATEGORY(lcAudio)

} // namespace vantrel
