#include "Vantrel/views/ViewAccessibility.h"

#include "Vantrel/views/RunwayView.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace vantrel {

namespace {

// The playfield: one action, named after what it does in this phase.
class RunwayAccessible : public QAccessibleWidget {
public:
    explicit RunwayAccessible(RunwayView* view) : QAccessibleWidget(view, QAccessible::Canvas) {}

    QStringList actionNames() const override { return {runway()->accessibleActionName()}; }

    void doAction(const QString& name) override {
        if (name == runway()->accessibleActionName()) {
            runway()->performAction();
        }
    }

    QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    RunwayView* runway() const { return static_cast<RunwayView*>(widget()); }
};

// Decoration: present in the tree but invisible to assistive technology.
class HiddenAccessible : public QAccessibleWidget {
public:
    explicit HiddenAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Graphic) {}

    QAccessible::State state() const override {
        QAccessible::State s = QAccessibleWidget::state();
        s.invisible = true;
        return s;
    }
};

QAccessibleInterface* viewAccessibleFactory(const QString& className, QObject* object) {
    if (!object || !object->isWidgetType()) {
        return nullptr;
    }
    if (className == QLatin1String("vantrel::RunwayView")) {
        return new RunwayAccessible(static_cast<RunwayView*>(object));
    }
    if (className == QLatin1String("vantrel::DinoGlyph") ||
        className == QLatin1String("vantrel::PeekingDinoGlyph")) {
        return new HiddenAccessible(static_cast<QWidget*>(object));
    }
    return nullptr;
}

} // namespace

void installViewAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(viewAccessibleFactory);
        return true;
    }();
    (void)installed;
}

} // namespace vantrel
