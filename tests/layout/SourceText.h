#pragma once

#include <QString>
#include <QStringList>

namespace Kavo::Testing {

/// The text of a C++ file without comments and literals, so that searches find code only. Line
/// numbers do not change.
QString codeOf(const QString &text);

/// The headers that the text includes with quotation marks, in order.
QStringList includesOf(const QString &text);

/// The headers that the text includes with angle brackets, in order.
QStringList libraryIncludesOf(const QString &text);

/// Whether the code declares a class or structure with a member function that needs a definition in
/// a source file: a declaration inside a class body that ends in a semicolon after a parameter
/// list.
bool declaresClassWithFunctions(const QString &code);

/// The calls of `connect` in the code, with their arguments split at the outermost commas.
QList<QStringList> connectCallsOf(const QString &code);

} // namespace Kavo::Testing
