#include "Vantrel/update/QtUpdateDialogs.h"

#include "Vantrel/platform/SessionBus.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTimer>
#include <QUrl>

namespace vantrel {

namespace {

// The application lives in the tray and has no window of its own in front, so
// every dialog is raised and given focus as soon as it is shown.
void bringToFront(QWidget* dialog) {
    QTimer::singleShot(0, dialog, [dialog] {
        dialog->raise();
        dialog->activateWindow();
    });
}

} // namespace

int QtUpdateDialogs::showAlert(const UpdateAlert& alert) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Vantrel"), alert.messageText);
    box.setInformativeText(alert.informativeText);
    box.setTextFormat(Qt::PlainText);
    box.setWindowFlag(Qt::WindowStaysOnTopHint);
    QList<QAbstractButton*> buttons;
    if (alert.buttons.isEmpty()) {
        buttons.append(box.addButton(QMessageBox::Ok));
    } else {
        for (qsizetype i = 0; i < alert.buttons.size(); ++i) {
            // The first button is the default; the last one answers Escape.
            const auto role = i == 0 ? QMessageBox::AcceptRole : QMessageBox::RejectRole;
            QPushButton* button = box.addButton(alert.buttons[i], role);
            buttons.append(button);
            if (i == 0) {
                box.setDefaultButton(button);
            }
        }
        box.setEscapeButton(buttons.last());
    }
    bringToFront(&box);
    box.exec();
    const qsizetype chosen = buttons.indexOf(box.clickedButton());
    return chosen < 0 ? static_cast<int>(buttons.size() - 1) : static_cast<int>(chosen);
}

std::optional<QString> QtUpdateDialogs::chooseSaveLocation(const QString& proposedName,
                                                           const QString& message) {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (folder.isEmpty()) {
        folder = QDir::homePath();
    }
    QFileDialog dialog(nullptr, message, QDir(folder).filePath(proposedName));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setLabelText(QFileDialog::Accept, QStringLiteral("Save"));
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    bringToFront(&dialog);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return dialog.selectedFiles().constFirst();
}

void QtUpdateDialogs::reveal(const QString& path) {
    revealInFileManager(path);
}

void revealInFileManager(const QString& path, std::function<void(bool byFileManager)> done) {
    const QString folder = QFileInfo(path).absolutePath();
    auto fallBack = [folder, done] {
        QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
        if (done) {
            done(false);
        }
    };
    QDBusConnection bus =
        platform::sessionBusKnown() ? QDBusConnection::sessionBus() : QDBusConnection(QStringLiteral("none"));
    if (!bus.isConnected()) {
        fallBack();
        return;
    }
    const QString uri = QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath()).toString(QUrl::FullyEncoded);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{uri} << QString();
    // Asynchronous: a file manager that is slow to start, or has hung, never holds up the program.
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, revealTimeoutMs), qApp);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [fallBack, done](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         if (finished->isError()) {
                             fallBack();
                         } else if (done) {
                             done(true);
                         }
                     });
}

} // namespace vantrel
