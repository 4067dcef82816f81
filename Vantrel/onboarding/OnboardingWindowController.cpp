#include "Vantrel/onboarding/OnboardingWindowController.h"

#include "Vantrel/onboarding/OnboardingView.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCursor>
#include <QGuiApplication>
#include <QLabel>
#include <QScreen>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace vantrel {

OnboardingWindowController::OnboardingWindowController(bool shortcutAvailable, const Clock& clock,
                                                       std::function<void(bool)> finish, QWidget* parent)
    : QWidget(parent, Qt::Window) {
    setWindowTitle(QStringLiteral("Vantrel"));
    setObjectName("onboardingWindow");
    resize(preferredSize);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    // On a small screen (or a large scale) the window is as large as the screen allows and
    // the pages scroll; the pages themselves keep the size they were laid out for.
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    m_view = new OnboardingView(shortcutAvailable, clock, std::move(finish));
    m_view->setMinimumSize(preferredSize);
    scroll->setWidget(m_view);
    layout->addWidget(scroll);

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
            // Fits the screen, title bar included, and never starts above its top edge, so the
            // title bar stays within reach.
            const QRect area = screen->availableGeometry();
            const QSize fitted = preferredSize.boundedTo(area.size() - QSize(0, titleBarAllowance));
            resize(fitted);
            const int x = area.left() + std::max(0, (area.width() - fitted.width()) / 2);
            const int y = area.top() + std::max(0, (area.height() - titleBarAllowance - fitted.height()) / 2);
            move(x, y);
        }
    }
    // A minimised window is brought back too: the user asked to see it.
    if (windowState() & Qt::WindowMinimized) {
        setWindowState(windowState() & ~Qt::WindowMinimized);
    }
    show();
    raise();
    activateWindow();
}

} // namespace vantrel
