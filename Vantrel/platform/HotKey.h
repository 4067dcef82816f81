#pragma once

#include <QObject>
#include <QString>

namespace vantrel::platform {

// The desktop-wide key combination Alt+Super+Space, pressed in any application.
class HotKey : public QObject {
    Q_OBJECT

public:
    // What the desktop has said about the combination so far.
    enum class State {
        released,    // not asked for, or given back
        pending,     // asked for; the desktop has not answered yet
        active,      // it reaches this program
        refused,     // the desktop (or the user, in its dialog) said no, or another program holds it
        unavailable, // this desktop offers no way to take it
    };
    Q_ENUM(State)

    using QObject::QObject;

    // True when the combination is ours or has been asked for (state() then says
    // which); otherwise false with a readable reason (for example another program holds it).
    virtual bool grab(QString* error) = 0;
    virtual void release() = 0;

    // Synchronous backends are active after a successful grab; asynchronous ones
    // go through pending and report the desktop's answer with stateChanged().
    State state() const { return m_state; }
    // One line for the user's diagnostics: how the combination is taken, or why not.
    QString detail() const { return m_detail; }
    // How the desktop shows the trigger, where it said (it may differ from the one asked for).
    QString trigger() const { return m_trigger; }

signals:
    void activated();
    void stateChanged();

protected:
    void setState(State state, const QString& detail, const QString& trigger = QString());

private:
    State m_state = State::released;
    QString m_detail;
    QString m_trigger;
};

// Where no desktop-wide shortcut can be registered.
class NullHotKey final : public HotKey {
    Q_OBJECT

public:
    using HotKey::HotKey;

    bool grab(QString* error) override;
    void release() override {}
};

} // namespace vantrel::platform
