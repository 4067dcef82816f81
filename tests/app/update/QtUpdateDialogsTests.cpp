// The update check's real alerts: what they look like and which answer each key gives.
#include "Vantrel/update/QtUpdateDialogs.h"
#include "Vantrel/update/UpdateDecisions.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

using namespace vantrel;

namespace {

struct Seen {
    bool found = false;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title;
    QString text;
    QString informative;
    QStringList buttons;
    QString defaultButton;
    QString escapeButton;
    bool modal = false;
    bool active = false;
};

// Shows `alert` on real QtUpdateDialogs; once the box is up (and has had a moment to come
// to the front), records what it shows and answers with `answer`. Returns the chosen index.
int showAndAnswer(const UpdateAlert& alert, Seen& seen, const std::function<void(QMessageBox*)>& answer) {
    QtUpdateDialogs dialogs;
    auto* poll = new QTimer;
    poll->setInterval(20);
    int looks = 0;
    QObject::connect(poll, &QTimer::timeout, [&, poll] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible()) {
            if (++looks > 250) { // 5 s: give up, so a box that never shows fails rather than hangs
                poll->stop();
            }
            return;
        }
        // One more look after it showed: the box raises and activates itself from the event loop.
        if (looks++ < 3) {
            return;
        }
        poll->stop();
        seen.found = true;
        seen.icon = box->icon();
        seen.title = box->windowTitle();
        seen.text = box->text();
        seen.informative = box->informativeText();
        for (QAbstractButton* button : box->buttons()) {
            seen.buttons << button->text();
        }
        seen.defaultButton = box->defaultButton() ? box->defaultButton()->text() : QString();
        seen.escapeButton = box->escapeButton() ? box->escapeButton()->text() : QString();
        seen.modal = box->isModal();
        seen.active = QApplication::activeWindow() == box;
        answer(box);
    });
    poll->start();
    const int chosen = dialogs.showAlert(alert);
    delete poll;
    return chosen;
}

UpdateAlert offer() {
    return {QStringLiteral("Vantrel 1.4.0 is ready."),
            QStringLiteral("Faster cacti.\n\n") + UpdateDecisions::updateInstructionsText(),
            {QStringLiteral("Download Update"), QStringLiteral("Later")}};
}

void pressKey(QMessageBox* box, Qt::Key key) {
    QTest::keyClick(box, key);
}

} // namespace

TEST(QtUpdateDialogs, OfferIsAWarningWithDownloadAsDefaultAndEscapeMeansLater) {
    Seen seen;
    const int chosen = showAndAnswer(offer(), seen, [](QMessageBox* box) { pressKey(box, Qt::Key_Escape); });
    ASSERT_TRUE(seen.found) << "no alert was shown";
    EXPECT_EQ(seen.icon, QMessageBox::Warning);
    EXPECT_EQ(seen.title, "Vantrel");
    EXPECT_EQ(seen.text, "Vantrel 1.4.0 is ready.");
    EXPECT_EQ(seen.informative, offer().informativeText);
    EXPECT_TRUE(seen.modal);
    EXPECT_TRUE(seen.active) << "the alert was not brought to the front";
    EXPECT_EQ(seen.defaultButton.toStdString(), "Download Update");
    EXPECT_EQ(seen.escapeButton.toStdString(), "Later");
    EXPECT_TRUE(seen.buttons.contains("Download Update") && seen.buttons.contains("Later"))
        << seen.buttons.join(", ").toStdString();
    EXPECT_EQ(seen.buttons.size(), 2);
    EXPECT_EQ(chosen, 1); // Later
}

TEST(QtUpdateDialogs, ReturnChoosesDownloadUpdate) {
    Seen seen;
    const int chosen = showAndAnswer(offer(), seen, [](QMessageBox* box) { pressKey(box, Qt::Key_Return); });
    ASSERT_TRUE(seen.found) << "no alert was shown";
    EXPECT_EQ(chosen, 0);
}

TEST(QtUpdateDialogs, ClosingTheWindowMeansLaterToo) {
    Seen seen;
    const int chosen = showAndAnswer(offer(), seen, [](QMessageBox* box) { box->close(); });
    ASSERT_TRUE(seen.found) << "no alert was shown";
    EXPECT_EQ(chosen, 1);
}

TEST(QtUpdateDialogs, ErrorAndUpToDateAreWarningsWithOneOk) {
    for (const UpdateAlert& alert : {UpdateDecisions::errorAlert(UpdateDecisions::unavailableText()),
                                     UpdateDecisions::upToDateAlert()}) {
        Seen seen;
        const int chosen =
            showAndAnswer(alert, seen, [](QMessageBox* box) { pressKey(box, Qt::Key_Escape); });
        ASSERT_TRUE(seen.found) << "no alert was shown for " << alert.messageText.toStdString();
        EXPECT_EQ(seen.icon, QMessageBox::Warning) << alert.messageText.toStdString();
        EXPECT_EQ(seen.title, "Vantrel");
        EXPECT_EQ(seen.text, alert.messageText);
        EXPECT_EQ(seen.informative, alert.informativeText);
        EXPECT_EQ(seen.buttons, QStringList{"OK"});
        EXPECT_EQ(chosen, 0);
    }
}
