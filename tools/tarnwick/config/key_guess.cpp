#include "config/key_guess.h"

#include <QtCore/QStringView>

#include <algorithm>
#include <numeric>
#include <vector>

namespace tarnwick::program {
namespace {

/// Returns how many characters must be added, removed or changed to convert one text to the other, ignoring case.
qsizetype distance(QStringView one, QStringView other)
{
    std::vector<qsizetype> row(static_cast<std::size_t>(other.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype i = 0; i < one.size(); ++i) {
        auto diagonal = row[0]++;
        for (qsizetype j = 0; j < other.size(); ++j) {
            auto &cell = row[static_cast<std::size_t>(j) + 1];
            auto const changed = diagonal + (one[i].toCaseFolded() == other[j].toCaseFolded() ? 0 : 1);
            diagonal = cell;
            cell = std::min({changed, cell + 1, row[static_cast<std::size_t>(j)] + 1});
        }
    }
    return row.back();
}

} // namespace

// Searches only for misspelt prefixes: the key is outside the prefix, so its rest is taken as correct.
std::optional<QString> probable_key(QString const &written, QString const &prefix, QSet<QString> const &known)
{
    if (known.contains(written))
        return prefix + written;
    // Short names differ by few letters anyway.
    auto const limit = std::min<qsizetype>(2, (prefix.size() - 1) / 3);
    std::optional<QString> best;
    auto best_distance = limit + 1;
    bool best_is_known = false;
    for (auto end = std::max<qsizetype>(1, prefix.size() - limit); end <= prefix.size() + limit && end < written.size();
         ++end) {
        auto const rest = written.sliced(end);
        bool const is_known = known.contains(rest);
        auto const found = distance(QStringView(written).first(end), prefix);
        bool const is_better = is_known == best_is_known ? found < best_distance : is_known;
        if (found <= limit && is_better && (is_known || written[end - 1] == u'.')) {
            best = prefix + rest;
            best_distance = found;
            best_is_known = is_known;
        }
    }
    return best;
}

std::optional<QString> nearest_key(QString const &written, QString const &prefix, QStringList const &known)
{
    QSet<QString> const keys(known.begin(), known.end());
    if (!prefix.isEmpty()) {
        if (auto const meant = probable_key(written, prefix, keys);
            meant && keys.contains(meant->sliced(prefix.size())))
            return meant->sliced(prefix.size());
    }
    // Short names differ by few letters anyway.
    auto best_distance = std::clamp<qsizetype>(written.size() - 2, 0, 2) + 1;
    std::optional<QString> best;
    for (auto const &key : known) {
        if (auto const found = distance(written, key); found < best_distance) {
            best = key;
            best_distance = found;
        }
    }
    if (best)
        return best;
    // Without a prefix, keys start with the name of their program.
    auto const named = std::ranges::find_if(known, [&](QString const &key) { return key.endsWith(u'.' + written); });
    return named == known.end() || written.isEmpty() ? std::nullopt : std::optional(*named);
}

} // namespace tarnwick::program
