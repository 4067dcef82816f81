#pragma once

#include <QVariant>

#include <optional>

namespace vantrel {

// Typed reads of settings that may hold anything: a value of another type or
// unreadable text counts as absent. Text-based settings files keep no types,
// so "true"/"false" and whole decimal numbers written as text are accepted.
std::optional<bool> settingsBool(const QVariant& value);
std::optional<qint64> settingsInteger(const QVariant& value);

} // namespace vantrel

class QSettings;

namespace vantrel {

// QSettings rewrites a file it could not parse with only the keys it
// understood, which would throw away whatever else the user had there. When
// that is the case, copies the file to "<name>.unreadable" (or
// "<name>.unreadable-N") first. Returns the copy's path, or an empty string
// when the file was fine or there is none.
QString keepUnreadableSettingsFile(QSettings& settings);

} // namespace vantrel
