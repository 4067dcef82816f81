#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

namespace vantrel {

// The desktop's own key binding to `vantrel --toggle`, for Wayland desktops
// whose compositor offers no GlobalShortcuts portal. Made only when the user
// asks for it and removable the same way. On GNOME it is a custom keybinding in
// the settings daemon's media-keys schema, written with the `gsettings` tool
// (asynchronously; other custom keybindings are left as they are); on sway it
// is a line of the user's config, which the user adds (it is shown to them);
// elsewhere the command is shown for the desktop's keyboard settings.
class ShortcutSetup : public QObject {
    Q_OBJECT

public:
    enum class Desktop { gnome, sway, other };

    static constexpr const char* mediaKeysSchema = "org.gnome.settings-daemon.plugins.media-keys";
    static constexpr const char* keybindingSchema =
        "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding";
    static constexpr const char* keybindingPath =
        "/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/vantrel/";
    static constexpr const char* gnomeBinding = "<Alt><Super>space";

    // From XDG_CURRENT_DESKTOP and SWAYSOCK.
    static Desktop detect();

    // `program` is the executable the binding runs (the one running now).
    ShortcutSetup(Desktop desktop, QString program, QObject* parent = nullptr);

    Desktop desktop() const { return m_desktop; }
    // The command the binding runs, quoted for a shell.
    QString command() const;
    // The line for sway's config.
    QString swayLine() const;

    // Whether the binding exists, as last read (refresh() reads it again).
    bool isSetUp() const { return m_setUp; }
    // Only GNOME's binding is written and removed by this program.
    bool canWrite() const { return m_desktop == Desktop::gnome; }
    bool busy() const { return m_busy; }

    // Reads whether the binding exists; changed() when that differs from before.
    void refresh();
    // GNOME: writes the binding, then finished(). Elsewhere: finished(false) at once,
    // the shell shows the line or command instead.
    void setUp();
    void remove();

signals:
    void changed();
    // What was changed, or what went wrong, in words for the user.
    void finished(bool ok, const QString& message);

private:
    using Done = std::function<void(bool ok, const QString& output)>;
    void run(const QStringList& arguments, Done done);
    void runAll(QList<QStringList> steps, std::function<void(bool, const QString&)> done);
    void readList(std::function<void(bool ok, const QStringList& paths, const QString& error)> done);
    void finish(bool ok, const QString& message);
    void setSetUp(bool setUp);

    Desktop m_desktop;
    QString m_program;
    bool m_setUp = false;
    bool m_busy = false;
};

} // namespace vantrel
