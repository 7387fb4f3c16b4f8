#include "tools/check/JsonTree.h"

#include "tools/check/JsonReader.h"

namespace Kavo::Tools {

JsonTree::JsonTree(const QByteArray &bytes) : m_bytes(bytes)
{
    JsonReader(*this).read();
}

} // namespace Kavo::Tools
