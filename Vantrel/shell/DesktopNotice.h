#pragma once

#include <QString>

namespace vantrel {

// Tells the user something once, where they will see it without a tray icon:
// a desktop notification (org.freedesktop.Notifications), or, when no
// notification service answers, a small non-modal message window.
class DesktopNotice {
public:
    enum class Shown { notification, window };

    static Shown show(const QString& title, const QString& body);
};

} // namespace vantrel
