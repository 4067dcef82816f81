// The vantrel program: parses the command line, makes sure only one instance
// runs per user, and hands everything else to the AppDelegate.
#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/audio/ArcadeAudio.h"
#include "Vantrel/shell/AppDelegate.h"
#include "Vantrel/shell/QuitOnSignal.h"
#include "Vantrel/shell/SingleInstance.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QLibraryInfo>
#include <QTextStream>

#include <optional>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace vantrel;

namespace {

struct CommandLine {
    AppDelegate::Options options;
    bool toggle = false;
    std::optional<int> audioBufferBytes; // the sound server's buffer to ask for, bytes
};

// Read before the GUI starts, so --help, --version and --toggle work without a display.
CommandLine parseCommandLine(int argc, char** argv) {
    QCoreApplication probe(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantrel"));
    // --version prints both: users quote the version, the update check compares build numbers.
    QCoreApplication::setApplicationVersion(
        QStringLiteral(PROJECT_VERSION " (build " VANTREL_BUILD_NUMBER_TEXT ")"));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A pixel dinosaur runner at the top centre of the screen. Rest the pointer just below the top\n"
        "centre to make it peek, click the tab or press Alt+Super+Space to play, Escape to go back.\n"
        "Launching it again while it runs opens the playfield."));
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption toggle(
        QStringLiteral("toggle"),
        QStringLiteral("Open or close the playfield of the running Vantrel (starting it if "
                       "none runs). Bind this to a desktop keyboard shortcut where "
                       "Alt+Super+Space cannot be taken, as under Wayland."));
    QCommandLineOption demo(
        QStringLiteral("demo"),
        QStringLiteral("Open the playfield and let the autopilot play; any game key takes over. "
                       "Plays even before the welcome window has been gone through, which then "
                       "shows at the next start."));
    QCommandLineOption settingsFile(
        QStringLiteral("settings-file"),
        QStringLiteral("Keep the best score and preferences in <path> (an INI file) "
                       "instead of ~/.config/Vantrel/Vantrel.conf."),
        QStringLiteral("path"));
    QCommandLineOption verbose(QStringLiteral("verbose"),
                               QStringLiteral("Say on standard error which desktop services are in use."));
    parser.addOption(toggle);
    parser.addOption(demo);
    parser.addOption(settingsFile);
    parser.addOption(verbose);
    parser.process(probe);

    CommandLine line;
    line.toggle = parser.isSet(toggle);
    line.options.demo = parser.isSet(demo);
    line.options.open = line.toggle;
    line.options.settingsFile = parser.value(settingsFile);
    line.options.verbose = parser.isSet(verbose);
    bool ok = false;
    const int wait = qEnvironmentVariableIntValue("VANTREL_TRAY_WAIT_SECONDS", &ok);
    if (ok) {
        line.options.trayWaitSeconds = wait;
    }
    // A loaded machine may need more room against gaps in the sound, at the cost of delay.
    const int bufferBytes = qEnvironmentVariableIntValue("VANTREL_AUDIO_BUFFER_BYTES", &ok);
    if (ok && AudioMixer::isSettableBufferBytes(bufferBytes)) {
        line.audioBufferBytes = bufferBytes;
    }
    return line;
}

// Qt's Wayland platform plugin is installed (Debian: qt6-wayland).
bool waylandPluginInstalled() {
    QStringList dirs = qEnvironmentVariable("QT_QPA_PLATFORM_PLUGIN_PATH").split(u':', Qt::SkipEmptyParts);
    for (const QString& dir : qEnvironmentVariable("QT_PLUGIN_PATH").split(u':', Qt::SkipEmptyParts)) {
        dirs << dir + QStringLiteral("/platforms");
    }
    dirs << QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/platforms");
    for (const QString& dir : dirs) {
        if (!QDir(dir).entryList({QStringLiteral("libqwayland*.so")}, QDir::Files).isEmpty()) {
            return true;
        }
    }
    return false;
}

// The compositor named by WAYLAND_DISPLAY accepts a connection (Qt would abort if not).
QString unreachableWaylandSocket() {
    QString path = qEnvironmentVariable("WAYLAND_DISPLAY");
    if (!path.startsWith(u'/')) {
        path = qEnvironmentVariable("XDG_RUNTIME_DIR") + u'/' + path;
    }
    const QByteArray name = path.toLocal8Bit();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<size_t>(name.size()) >= sizeof(address.sun_path)) {
        return path;
    }
    std::copy(name.begin(), name.end(), address.sun_path);
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool ok = fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    if (fd >= 0) {
        close(fd);
    }
    return ok ? QString() : path;
}

// Picks Qt's platform before QApplication exists, so a session Qt cannot serve ends
// with a message instead of Qt's abort. Returns the exit status when there is nothing to run on.
std::optional<int> chooseQtPlatform(bool verbose) {
    if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        return std::nullopt; // the user's choice
    }
    const bool wayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    const bool x11 = !qEnvironmentVariableIsEmpty("DISPLAY");
    QTextStream err(stderr);
    if (!wayland && !x11) {
        err << "vantrel: no display to show the game on: neither WAYLAND_DISPLAY nor DISPLAY is set. "
               "Start Vantrel from within a desktop session."
            << Qt::endl;
        return 1;
    }
    const QString unreachable = wayland ? unreachableWaylandSocket() : QString();
    const bool nativeWayland = wayland && unreachable.isEmpty() && waylandPluginInstalled();
    if (wayland && x11) {
        // Wayland gives clients no desktop-wide pointer, shortcut or focus: run through XWayland,
        // and natively only if XWayland does not answer after all.
        qputenv("QT_QPA_PLATFORM", nativeWayland ? "xcb;wayland" : "xcb");
    } else if (wayland) {
        if (!unreachable.isEmpty()) {
            err << "vantrel: DISPLAY is not set and the Wayland compositor does not answer at " << unreachable
                << " (WAYLAND_DISPLAY). Start Vantrel from within the desktop session." << Qt::endl;
            return 1;
        }
        if (!nativeWayland) {
            err << "vantrel: this Wayland session has no XWayland (DISPLAY is not set), and Qt's Wayland "
                   "support is not installed. Install qt6-wayland (Debian, Ubuntu: sudo apt install "
                   "qt6-wayland) or enable XWayland in the desktop session."
                << Qt::endl;
            return 1;
        }
        qputenv("QT_QPA_PLATFORM", "wayland");
        if (verbose) {
            err << "vantrel: no XWayland (DISPLAY is not set): running as a native Wayland client. The panel "
                   "is an ordinary window; hovering reveals it only over its own window, Alt+Super+Space "
                   "and giving focus back on Escape are not available. The tray and `vantrel --toggle` work."
                << Qt::endl;
        }
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char** argv) {
    const CommandLine line = parseCommandLine(argc, argv);

    // One Vantrel per user: a later launch hands its request to the running one.
    SingleInstance instance;
    const QString request = line.toggle         ? QStringLiteral("toggle")
                            : line.options.demo ? QStringLiteral("demo")
                                                : QStringLiteral("reopen");
    const SingleInstance::Role role = instance.start(request);
    if (role == SingleInstance::Role::secondary) {
        return 0;
    }
    if (role == SingleInstance::Role::failed) {
        QTextStream(stderr) << "vantrel: " << instance.errorString()
                            << " Starting anyway; a second launch may start a second copy." << Qt::endl;
    }

    if (const std::optional<int> status = chooseQtPlatform(line.options.verbose)) {
        return *status;
    }

    QApplication app(argc, argv);
    if (role == SingleInstance::Role::primary && !instance.listen()) {
        QTextStream(stderr) << "vantrel: " << instance.errorString()
                            << " A second launch may start a second copy." << Qt::endl;
    }
    QApplication::setOrganizationName(QStringLiteral("Vantrel"));
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    // Lets the desktop match our windows and notifications to the installed desktop entry.
    QGuiApplication::setDesktopFileName(QStringLiteral(VANTREL_APP_ID));
    QApplication::setQuitOnLastWindowClosed(false);

    SteadyClock clock;
    QuitOnSignal quitOnSignal;
    AppDelegate delegate(line.options, clock);
    if (line.audioBufferBytes) {
        delegate.store().audio().mixer().setBufferBytes(*line.audioBufferBytes);
    }
    QObject::connect(&instance, &SingleInstance::messageReceived, &delegate, &AppDelegate::handleRequest);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate, &AppDelegate::shutdown);
    if (line.options.verbose) {
        // Tests wait for this line: the event loop starts right after it.
        QTextStream(stderr) << "vantrel: ready" << Qt::endl;
    }

    const int status = QApplication::exec();
    delegate.shutdown();
    return status;
}
