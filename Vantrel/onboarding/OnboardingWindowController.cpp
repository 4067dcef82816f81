#include "Vantrel/onboarding/OnboardingWindowController.h"

#include "Vantrel/onboarding/OnboardingView.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QVBoxLayout>

namespace vantrel {

OnboardingWindowController::OnboardingWindowController(bool shortcutAvailable, const Clock& clock,
                                                       std::function<void(bool)> finish, QWidget* parent)
    : QWidget(parent, Qt::Window) {
    setWindowTitle(QStringLiteral("Vantrel"));
    setObjectName("onboardingWindow");
    resize(600, 610);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    m_view = new OnboardingView(shortcutAvailable, clock, std::move(finish), this);
    layout->addWidget(m_view);

    auto addAction = [this](const QKeySequence& keys, auto handler) {
        auto* action = new QAction(this);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WindowShortcut);
        connect(action, &QAction::triggered, this, handler);
        QWidget::addAction(action);
        return action;
    };
    addAction(QKeySequence(Qt::CTRL | Qt::Key_W), [this] { close(); });
    addAction(QKeySequence(Qt::CTRL | Qt::Key_Q), [this] { emit quitRequested(); });
    addAction(QKeySequence::Cut, [this] { editFocused("cut"); });
    addAction(QKeySequence::Copy, [this] { editFocused("copy"); });
    addAction(QKeySequence::Paste, [this] { editFocused("paste"); });
    addAction(QKeySequence::SelectAll, [this] { editFocused("selectAll"); });
}

void OnboardingWindowController::editFocused(const char* action) {
    QWidget* focus = QApplication::focusWidget();
    if (!focus || !isAncestorOf(focus)) {
        return;
    }
    // Editors have slots of these names; labels only know selections.
    if (focus->metaObject()->indexOfSlot(QByteArray(action).append("()").constData()) >= 0) {
        QMetaObject::invokeMethod(focus, action);
        return;
    }
    if (auto* label = qobject_cast<QLabel*>(focus)) {
        const QString name = QString::fromLatin1(action);
        if (name == QLatin1String("selectAll")) {
            label->setSelection(0, static_cast<int>(label->text().size()));
        } else if ((name == QLatin1String("copy") || name == QLatin1String("cut")) &&
                   label->hasSelectedText()) {
            QGuiApplication::clipboard()->setText(label->selectedText());
        }
    }
}

void OnboardingWindowController::showAndActivate() {
    if (!isVisible()) {
        QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen) {
            screen = QGuiApplication::primaryScreen();
        }
        if (screen) {
            const QRect area = screen->availableGeometry();
            move(area.center() - QPoint(width() / 2, height() / 2));
        }
    }
    show();
    raise();
    activateWindow();
}

} // namespace vantrel
