#pragma once

#include <QString>

#include <optional>

class QScreen;

namespace vantrel::platform {

// A camera notch at the top centre of a screen, in Qt's device-independent pixels.
struct NotchSize {
    double width = 0;
    double height = 0;
    friend bool operator==(const NotchSize&, const NotchSize&) = default;
};

// Where the notches are. Ordinary screens have none, and no display protocol
// reports one, so the user describes it (for example on an Apple laptop running Linux).
class ScreenNotch {
public:
    virtual ~ScreenNotch() = default;
    virtual std::optional<NotchSize> notchFor(const QScreen* screen) const = 0;
};

class NoScreenNotch final : public ScreenNotch {
public:
    std::optional<NotchSize> notchFor(const QScreen*) const override { return std::nullopt; }
};

// A notch given by the settings "notchGeometry" ("WIDTHxHEIGHT", for example
// "200x32") and, optionally, "notchScreen" (the name of the one screen that has
// it; empty means every screen).
class ConfiguredScreenNotch final : public ScreenNotch {
public:
    ConfiguredScreenNotch(NotchSize size, QString screenName);

    // Null when `geometry` is empty or not of the form WIDTHxHEIGHT with
    // positive numbers; `error` then says why (unless the text was empty).
    static std::optional<NotchSize> parse(const QString& geometry, QString* error);

    std::optional<NotchSize> notchFor(const QScreen* screen) const override;

private:
    NotchSize m_size;
    QString m_screenName;
};

} // namespace vantrel::platform
