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
