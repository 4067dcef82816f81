#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace vantrel {

// A modal message: the application's name as the title, a bold message, an
// informative text, and its buttons (none listed means a single "OK").
struct UpdateAlert {
    QString messageText;
    QString informativeText;
    QStringList buttons; // the first is the default

    friend bool operator==(const UpdateAlert&, const UpdateAlert&) = default;
};

// The dialogs of an update check. The application shows real ones
// (QtUpdateDialogs); tests answer them in code. Each call returns only once
// the user has answered.
class UpdateDialogs {
public:
    virtual ~UpdateDialogs() = default;

    // Shows the alert; returns the index of the chosen button (0 for "OK").
    virtual int showAlert(const UpdateAlert& alert) = 0;

    // Asks where to save; nullopt when the user cancels.
    virtual std::optional<QString> chooseSaveLocation(const QString& proposedName,
                                                      const QString& message) = 0;

    // Shows a saved file in the desktop's file manager.
    virtual void reveal(const QString& path) = 0;
};

} // namespace vantrel
