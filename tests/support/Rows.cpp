#include "tests/support/Rows.h"

namespace Kavo::Testing {

RowText::RowText(const QString &text) : m_text(text) {}

RowText::RowText(const char *utf8) : m_text(QString::fromUtf8(utf8)) {}

} // namespace Kavo::Testing
