#pragma once

#include "tools/check/CatalogueView.h"
#include "tools/check/CheckReport.h"
#include "tools/check/JsonTree.h"
#include "tools/publish/ArchiveLook.h"
#include "tools/publish/TextEdit.h"
#include "tools/publish/VersionDraft.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo::Tools {

/// What a publisher says of a version that is to be added. What is not said comes from the version
/// before and from the archive.
struct AdditionOrder
{
    PackageDraft package; ///< all but the id is for a new package only
    QString version;
    std::optional<QString> link;
    std::optional<QString> linkPrefix; ///< folder of the server in which the archive is to be
    std::optional<QString> extract;
    std::optional<QStringList> depends;
    std::optional<QStringList> preserve;
    std::optional<QStringList> backup;
    std::optional<QStringList> remove;
    QStringList log;
};

/// Works out a catalogue with one more version in it. Touches no file. For one thread.
///
/// A catalogue of which it is doubtful what clients make of it is not added to, and neither is a
/// version that would be an error.
class Addition final
{
public:
    enum class Outcome {
        GOOD,
        NOT_UNDERSTOOD, ///< the order lacks something or says too much
        REFUSED,
    };

    Addition(const QByteArray &catalogue, AdditionOrder order);

    /// Whether the order can be carried out, as far as that shows without the archive.
    Outcome prepare();
    /// To be called when that is so.
    Outcome carryOut(const ArchiveLook &archive);

    /// Why the outcome was not a good one, a sentence.
    QString fault() const { return m_fault; }
    /// Findings that speak against it, or that are new with it and should be known.
    const CheckReport &findings() const { return m_findings; }

    /// The catalogue with the version in it.
    const QByteArray &result() const { return m_result; }
    /// What was added.
    const Models::PackageVersion &version() const { return m_version; }
    QString packageLabel() const;
    /// Folders of which files are removed one by one, see RemovalRules.
    const QStringList &undecidedFolders() const { return m_undecided; }

private:
    Outcome end(Outcome outcome, const QString &fault);
    Outcome checkCatalogueBefore();
    Outcome checkOrder();
    Outcome checkVersionIsNew();
    const PackageView *package() const;
    const VersionView *versionBefore() const;
    QString link(const QString &fileName) const;
    QStringList carried(const std::optional<QStringList> &said, QLatin1String object,
                        QLatin1String key) const;
    void describeVersion(const ArchiveLook &archive);
    QStringList removalRules(const ArchiveLook &archive);
    TextEdit edit() const;
    Outcome checkResult(const TextEdit &edit);

    QByteArray m_catalogue;
    AdditionOrder m_order;
    JsonTree m_tree;
    CatalogueView m_view;
    CheckReport m_before;
    int m_package = -1; ///< position, negative for a new one

    Models::PackageVersion m_version;
    QByteArray m_result;
    QStringList m_undecided;
    CheckReport m_findings;
    QString m_fault;
};

} // namespace Kavo::Tools
