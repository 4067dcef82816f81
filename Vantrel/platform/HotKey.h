#pragma once

#include <QObject>
#include <QString>

namespace vantrel::platform {

// The desktop-wide key combination Alt+Super+Space, pressed in any application.
class HotKey : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    // True when the combination is ours; otherwise false with a readable reason
    // (for example another program holds it).
    virtual bool grab(QString* error) = 0;
    virtual void release() = 0;

signals:
    void activated();
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
