#include "Vantrel/shell/ShortcutInstructions.h"

#include "Vantrel/shell/ShortcutSetup.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>

namespace vantrel::ShortcutInstructions {

QMessageBox* show(const ShortcutSetup& setup) {
    const bool sway = setup.desktop() == ShortcutSetup::Desktop::sway;
    const QString text = sway ? setup.swayLine() : setup.command();
    auto* box = new QMessageBox(QMessageBox::Information, QStringLiteral("Set Up Shortcut"),
                                sway ? QStringLiteral("Add this line to your sway config "
                                                      "(~/.config/sway/config), then reload sway "
                                                      "(Super+Shift+C):")
                                     : QStringLiteral("Your desktop offers no way for programs to ask for a "
                                                      "shortcut. In its keyboard settings, add a shortcut "
                                                      "(Alt+Super+Space) that runs this command:"));
    box->setObjectName(QStringLiteral("shortcutInstructions"));
    box->setInformativeText(text);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QPushButton* copy = box->addButton(QStringLiteral("Copy"), QMessageBox::ActionRole);
    copy->setObjectName(QStringLiteral("copyButton"));
    box->addButton(QMessageBox::Close);
    // The Copy button must not close the window: the user may want to read on.
    copy->disconnect();
    QObject::connect(copy, &QAbstractButton::clicked, box,
                     [text] { QGuiApplication::clipboard()->setText(text); });
    box->setModal(false);
    box->show();
    return box;
}

} // namespace vantrel::ShortcutInstructions
