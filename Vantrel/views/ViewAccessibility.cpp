#include "Vantrel/views/ViewAccessibility.h"

#include "Vantrel/pixels/DinoGlyph.h"
#include "Vantrel/pixels/PeekingDinoGlyph.h"
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

// Matched by type, not by class name, so renaming a view cannot silently drop
// its accessibility. Qt asks once per class up the object's hierarchy; the
// first ask (the object's own class) already finds the answer.
QAccessibleInterface* viewAccessibleFactory(const QString&, QObject* object) {
    if (auto* runway = qobject_cast<RunwayView*>(object)) {
        return new RunwayAccessible(runway);
    }
    if (qobject_cast<DinoGlyph*>(object) || qobject_cast<PeekingDinoGlyph*>(object)) {
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
