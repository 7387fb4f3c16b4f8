#include "tools/publish/TextEdit.h"

namespace Kavo::Tools {

QByteArray TextEdit::appliedTo(const QByteArray &document) const
{
    return QByteArray(document).replace(start, removed, text);
}

bool TextEdit::isNew(int offset) const
{
    return offset >= start && offset < start + text.size();
}

int TextEdit::before(int offset) const
{
    return offset < start ? offset : offset - text.size() + removed;
}

} // namespace Kavo::Tools
