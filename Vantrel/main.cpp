#include "Vantrel/Clock.h"
#include "Vantrel/GameStore.h"
#include "Vantrel/GlobalShortcut.h"
#include "Vantrel/NotchPanelController.h"
#include "Vantrel/QuitOnSignal.h"
#include "Vantrel/RetroFont.h"
#include "Vantrel/platform/Platform.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QSettings>
#include <QTextStream>

#include <memory>
#include <optional>

using namespace vantrel;

namespace {

struct Options {
    std::optional<QString> settingsFile;
    bool verbose = false;
};

// Read before the GUI starts, so --help and --version work without a display.
Options parseOptions(int argc, char** argv) {
    QCoreApplication probe(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantrel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(PROJECT_VERSION));
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A pixel dinosaur runner at the top centre of the screen. Rest the pointer just below the top\n"
        "centre to make it peek, click the tab or press Alt+Super+Space to play, Escape to go back."));
    parser.addHelpOption();
    parser.addVersionOption();
    QCommandLineOption settingsFile(
        QStringLiteral("settings-file"),
        QStringLiteral("Keep the best score and preferences in <path> (an INI file) "
                       "instead of ~/.config/Vantrel/Vantrel.conf."),
        QStringLiteral("path"));
    QCommandLineOption verbose(QStringLiteral("verbose"),
                               QStringLiteral("Say on standard error which desktop services are in use."));
    parser.addOption(settingsFile);
    parser.addOption(verbose);
    parser.process(probe);
    Options options;
    if (parser.isSet(settingsFile)) {
        options.settingsFile = parser.value(settingsFile);
    }
    options.verbose = parser.isSet(verbose);
    return options;
}

} // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    // Wayland gives clients no desktop-wide pointer, shortcut or focus: run through XWayland.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "xcb");
    }

    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Vantrel"));
    QApplication::setApplicationName(QStringLiteral("Vantrel"));
    QApplication::setQuitOnLastWindowClosed(false);

    QTextStream err(stderr);
    auto settings = options.settingsFile
                        ? std::make_unique<QSettings>(*options.settingsFile, QSettings::IniFormat)
                        : std::make_unique<QSettings>(QStringLiteral("Vantrel"), QStringLiteral("Vantrel"));
    PlatformServices services = makePlatformServices(*settings);
    if (options.verbose) {
        for (const QString& note : services.notes) {
            err << "vantrel: " << note << Qt::endl;
        }
    }

    RetroFont::registerFont();
    SteadyClock clock;
    QuitOnSignal quitOnSignal;
    NotchPanelController controller(std::move(settings), clock, std::move(services));
    GlobalShortcut shortcut(makeHotKey(), [&controller] { controller.toggle(); });
    controller.store().setShortcutAvailable(shortcut.registerHotKey());
    if (options.verbose) {
        err << "vantrel: shortcut " << GlobalShortcut::displayName << ": "
            << (shortcut.isRegistered() ? QStringLiteral("registered") : shortcut.errorString()) << Qt::endl;
    }

    int status = QApplication::exec();
    shortcut.unregisterHotKey();
    controller.shutdown();
    return status;
}
