#pragma once

#include <QSettings>

#include <array>

namespace Kavo {

/// The user's preferences, all of them texts, in an INI file and in two copies in memory. Everybody
/// reads the current copy; edits are made in the pending copy and then applied, committed or
/// reverted. The file is written by commit(), save() and reset() only. Main thread.
///
/// A file that is missing or cannot be read gives empty values; failing writes are ignored.
class Settings final : public QSettings
{
    Q_OBJECT

public:
    /// Position of each entry in a configuration.
    enum Key : std::size_t {
        INSTALLATION, ///< simulator folder, with a trailing separator
        LANGUAGE,     ///< interface language code
        CACHE,        ///< folder of downloaded files
        PRESERVE,     ///< folder where files kept over an update are parked
        BACKUP,       ///< folder where replaced files are backed up
        SHOW_FILTER,  ///< "false" hides the sidebar and the search field
        LOCAL_REPO,   ///< "true": the catalogue is read from the executable's folder
    };

    struct Entry
    {
        QString key;
        QString value;
    };
    using Configuration = std::array<Entry, 7>;

    explicit Settings(QObject *parent = nullptr);

    const Configuration &currentConfiguration() const { return m_current; }
    Configuration &pendingConfiguration() { return m_pending; }

    /// Value of one entry of the current copy.
    const QString &current(Key key) const { return m_current[key].value; }
    const QString &pending(Key key) const { return m_pending[key].value; }
    void setPending(Key key, const QString &value) { m_pending[key].value = value; }

    /// False only for the exact text "false".
    bool showsFilter() const;
    /// True for "true" in any letter case.
    bool usesLocalRepository() const;

    /// Makes the pending copy current without writing the file.
    void apply();
    /// Writes the pending copy to the file and makes it current.
    void commit();
    /// Drops the pending edits.
    void revert();
    /// Writes the pending copy to the file.
    void save();
    /// Empties every pending value and writes them to the file.
    void reset();

signals:
    /// For listeners of configuration changes; the store itself never emits it.
    /// Fixed, see docs/compatibility.md.
    void configurationChanged();

private:
    void read();

    Configuration m_current;
    Configuration m_pending;
};

} // namespace Kavo
