#pragma once

#include <QString>

namespace vantrel {

// "Launch at Login": a desktop entry in the user's autostart folder
// ($XDG_CONFIG_HOME/autostart, by default ~/.config/autostart), which every
// freedesktop session starts at login. Nothing is written until the user asks.
class Autostart {
public:
    // `appId` names the file (APPID.desktop); `program` is what the entry runs,
    // normally the program that is running now (installed or in a build folder).
    Autostart(QString appId, QString program);

    QString filePath() const;
    // The entry exists (also when the user put it there by hand).
    bool enabled() const;
    // Writes or removes the entry; false with a readable reason when that failed,
    // in which case nothing was changed.
    bool setEnabled(bool on, QString* error);

    // The entry's text for `program`.
    static QString desktopEntry(const QString& appId, const QString& program);
    // `program` as the first word of an Exec line: quoted when it holds anything
    // but letters, digits and / . _ - (the desktop entry rules' reserved characters).
    static QString execWord(const QString& program);

private:
    QString m_appId;
    QString m_program;
};

} // namespace vantrel
