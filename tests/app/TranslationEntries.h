#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

namespace Kavo::Testing {

/// One text of a translation file (.ts).
struct TranslationEntry
{
    QString context;
    QString source;
    QString comment; ///< distinguishes equal source texts
    QString state;   ///< empty if finished, otherwise "unfinished", "vanished" or "obsolete"
    QStringList translations; ///< more than one if the text has plural forms

    /// Identifies the text: entries of two files with equal keys translate the same text.
    QString key() const;
};

/// The entries of a translation file in the order of the file; empty if it cannot be read.
QVector<TranslationEntry> readTranslations(const QString &path);

/// Describes what a translation fails to keep of its source text: place-holders such as %1 and %n,
/// white space at the start and the end, or a colon at the end. Empty if it keeps everything.
QString lossOf(const QString &source, const QString &translation);

/// A function that returns the translation for a context, a source text and a comment.
using Translate = std::function<QString(const char *, const char *, const char *)>;

/// The keys of the entries for which the function does not return the translation of the file.
/// Entries with plural forms are ignored.
QStringList differentlyTranslated(const QVector<TranslationEntry> &entries,
                                  const Translate &translate);

} // namespace Kavo::Testing
