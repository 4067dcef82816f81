#pragma once

#include <QtGlobal>

class QScreen;

namespace vantrel::platform {

// The window that has the keyboard focus on the desktop, so that focus can be
// handed back to it after the playfield closes. Windows are opaque ids; 0 is none.
class ActiveWindow {
public:
    virtual ~ActiveWindow() = default;

    virtual quint64 current() const = 0;
    virtual void activate(quint64 window) = 0;
    // The window still exists (its program may have closed it meanwhile).
    virtual bool exists(quint64 window) const = 0;
    // The active window is in full-screen mode on `screen` (its centre lies on that screen).
    virtual bool fullScreenOn(const QScreen* screen) const = 0;
};

class NullActiveWindow final : public ActiveWindow {
public:
    quint64 current() const override { return 0; }
    void activate(quint64) override {}
    bool exists(quint64) const override { return false; }
    bool fullScreenOn(const QScreen*) const override { return false; }
};

} // namespace vantrel::platform
