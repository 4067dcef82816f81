#pragma once

#include <QString>
#include <QVariant>

#include <memory>

class QSettings;

namespace vantrel {

// The player's best score and preferences, kept in QSettings. Every write goes
// through to the file at once: the program may be killed right after a run,
// and a crash must not lose it. A stored value of the wrong type counts as
// absent; a file QSettings cannot parse is copied aside before anything is
// written over it.
class Preferences {
public:
    // Settings keys.
    static constexpr const char* bestScoreKey = "bestScore";
    static constexpr const char* soundEnabledKey = "soundEnabled";
    static constexpr const char* roomyKey = "roomy";
    static constexpr const char* hoverToPeekKey = "hoverToPeek";
    static constexpr const char* showTabKey = "showTab"; // older name of hoverToPeek, read only

    // Reads the stored values, after keeping a copy of an unreadable file.
    explicit Preferences(std::unique_ptr<QSettings> settings);
    ~Preferences();
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;

    // The best score as last read or saved (points).
    qint64 best() const { return m_best; }
    bool soundEnabled() const { return m_soundEnabled; }
    bool roomy() const { return m_roomy; }
    bool hoverToPeek() const { return m_hoverToPeek; }

    void saveBest(qint64 best);
    // Each writes the value even when it is unchanged (repairing a garbage
    // entry) and returns whether it changed.
    bool setSoundEnabled(bool enabled);
    bool setRoomy(bool roomy);
    bool setHoverToPeek(bool hover);

    // QSettings rewrites a file it could not parse with only the keys it
    // understood, which would throw away whatever else the user had there.
    // When that is the case, copies the file to "<name>.unreadable" (or
    // "<name>.unreadable-N") first. Returns the copy's path, or an empty
    // string when the file was fine or there is none.
    static QString keepUnreadableFile(QSettings& settings);

private:
    void write(const char* key, const QVariant& value);
    bool writeFlag(const char* key, bool& stored, bool value);

    std::unique_ptr<QSettings> m_settings;
    qint64 m_best = 0;
    bool m_soundEnabled = false;
    bool m_roomy = false;
    bool m_hoverToPeek = true;
};

} // namespace vantrel
