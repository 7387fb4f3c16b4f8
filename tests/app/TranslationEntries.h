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
    QString comment;          ///< tells texts apart that are the same in the source language
    QString state;            ///< empty when finished, else "unfinished", "vanished" or "obsolete"
    QStringList translations; ///< more than one where the language has a plural

    /// What is the same in two files if they translate the same text.
    QString key() const;
};

/// The entries of a translation file in the order of the file; none when it cannot be read.
QVector<TranslationEntry> readTranslations(const QString &path);

/// What a translation has lost of its source, or an empty text: place-holders such as %1 and %n,
/// blanks and line feeds at the ends, a colon at the end.
QString lossOf(const QString &source, const QString &translation);

/// Answers a context, a source text and a comment with the translation.
using Translate = std::function<QString(const char *, const char *, const char *)>;

/// The keys of the entries that are not translated as their file says; those with a plural are left
/// out.
QStringList differentlyTranslated(const QVector<TranslationEntry> &entries,
                                  const Translate &translate);

} // namespace Kavo::Testing
