#pragma once

#include "tools/check/CatalogueKeys.h"
#include "tools/check/Findings.h"

namespace Kavo::Tools {

/// Finds unknown keys, duplicate keys, and values of another type than clients read.
class KeysCheck final
{
public:
    explicit KeysCheck(Findings &findings);

    /// `root` is the top-level array.
    void check(const JsonNode &root);

private:
    void checkObject(const JsonNode &node, const std::vector<CatalogueKey> &keys,
                     const char *expected);
    void checkValue(const JsonNode &node, ValueType type);
    void checkTexts(const JsonNode &node);
    void checkTranslations(const JsonNode &node);
    void checkVersions(const JsonNode &node);
    void checkInteger(const JsonNode &node);
    void checkByteCount(const JsonNode &node);
    void reportUnknown(const JsonNode &member, const std::vector<CatalogueKey> &keys);
    void reportTwice(const JsonNode &member);
    void report(const JsonNode &node, const char *expected);

    Findings &m_findings;
};

} // namespace Kavo::Tools
