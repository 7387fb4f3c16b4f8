#include "tools/check/NearestWord.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace Kavo::Tools {

namespace {

/// The longest word that is compared.
constexpr int LongestWord = 40;

/// The number of letters to insert, delete or replace to turn one word into the other.
int distance(const QString &first, const QString &second)
{
    std::vector<int> above(static_cast<std::size_t>(second.size()) + 1);
    std::iota(above.begin(), above.end(), 0);
    for (int row = 0; row < first.size(); ++row) {
        std::vector<int> current{row + 1};
        for (int column = 0; column < second.size(); ++column) {
            const auto at = static_cast<std::size_t>(column);
            const int replaced = above[at] + (first.at(row) == second.at(column) ? 0 : 1);
            current.push_back(std::min({replaced, above[at + 1] + 1, current.back() + 1}));
        }
        above = std::move(current);
    }
    return above.back();
}

} // namespace

QString nearestWord(const QString &word, const QStringList &candidates)
{
    QString nearest;
    if (word.size() > LongestWord)
        return nearest;
    int least = std::clamp(word.size() / 2, 1, 3) + 1;
    for (const QString &candidate : candidates) {
        const int changes = distance(word.toCaseFolded(), candidate.toCaseFolded());
        if (changes < least) {
            least = changes;
            nearest = candidate;
        }
    }
    return nearest;
}

} // namespace Kavo::Tools
