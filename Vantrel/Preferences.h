#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class QSettings;

namespace vantrel {

// The player's best score and preferences, kept in QSettings. Every write goes
// through to the file at once: the program may be killed right after a run,
// and a crash must not lose it. A stored value of the wrong type counts as
// absent; a file QSettings cannot parse is copied aside before anything is
// written over it, and one that holds no settings of ours is moved aside before
// the program opens it.
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

    // Every key the program reads from the settings file, here or elsewhere.
    static QStringList programKeys();
    // Before anything opens `fileName`: when what is there is no settings file
    // (binary or not UTF-8 text, text QSettings cannot parse, a directory) or
    // holds only keys the program never reads, renames it to "<name>.unreadable"
    // (or "<name>.unreadable-N") and puts an empty file in its place, so the
    // program starts afresh and the user's file survives byte for byte. A
    // missing or empty file is a fresh start and stays. Returns where the file
    // went, or an empty string when it stayed (also when it could not be moved).
    static QString moveAsideIfUnusable(const QString& fileName);

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
