#include "editor/TextDifference.h"

#include "platform/text.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace tavrel {
namespace {

using Tokens = std::vector<std::string_view>;
using Kind = TextPiece::Kind;

/// Of comparisons; what takes more is not worth the waiting.
constexpr std::size_t MostSteps = 30'000'000;
constexpr std::size_t MostEdits = 1500;

bool WordCharacter(char c) {
    return OfWord(c) || c == '_';
}

/// Words are not parted by blanks from here on (CJK and beyond).
bool StandsAlone(char lead) {
    return static_cast<unsigned char>(lead) >= 0xE3;
}

std::size_t TokenLength(std::string_view text) {
    const char first = text.front();
    if (text.starts_with("\r\n"))
        return 2;
    if (StandsAlone(first))
        return std::max<std::size_t>(CharacterLength(text), 1);
    const auto end = [&](auto belongs) {
        return static_cast<std::size_t>(std::ranges::find_if_not(text, belongs) - text.begin());
    };
    if (first == ' ' || first == '\t')
        return end([](char c) { return c == ' ' || c == '\t'; });
    return WordCharacter(first) ? end([](char c) { return WordCharacter(c) && !StandsAlone(c); }) : 1;
}

Tokens Words(std::string_view text) {
    Tokens tokens;
    while (!text.empty()) {
        tokens.push_back(text.substr(0, TokenLength(text)));
        text.remove_prefix(tokens.back().size());
    }
    return tokens;
}

Tokens Lines(std::string_view text) {
    Tokens tokens;
    while (!text.empty()) {
        const auto end = text.find('\n');
        tokens.push_back(text.substr(0, end == std::string_view::npos ? end : end + 1));
        text.remove_prefix(tokens.back().size());
    }
    return tokens;
}

/// Pieces in the making.
class Pieces {
public:
    void Append(Kind kind, std::string_view text) {
        if (kind == Kind::Same && text.empty())
            return;
        if (kind == Kind::Same) {
            Close();
            same_ += text;
        } else {
            if (!same_.empty())
                pieces_.push_back({Kind::Same, std::exchange(same_, {})});
            (kind == Kind::Added ? added_ : removed_) += text;
        }
    }
    std::vector<TextPiece> Take() {
        Close();
        if (!same_.empty())
            pieces_.push_back({Kind::Same, same_});
        return std::move(pieces_);
    }

private:
    void Close() {
        if (!removed_.empty())
            pieces_.push_back({Kind::Removed, std::exchange(removed_, {})});
        if (!added_.empty())
            pieces_.push_back({Kind::Added, std::exchange(added_, {})});
    }
    std::vector<TextPiece> pieces_;
    std::string same_, added_, removed_;
};

using Edits = std::vector<std::pair<Kind, std::string_view>>;

/// The shortest edit (E. Myers, An O(ND) Difference Algorithm, 1986); nothing when it is too far away.
std::optional<Edits> ShortestEdit(const Tokens& before, const Tokens& after) {
    const auto n = static_cast<int>(before.size()), m = static_cast<int>(after.size());
    const auto most = static_cast<int>(std::min(MostEdits, MostSteps / (before.size() + after.size() + 1)));
    const auto same = [&](int x, int y) {
        return before[static_cast<std::size_t>(x)] == after[static_cast<std::size_t>(y)];
    };
    std::vector<std::vector<int>> reached; // for each number of edits the furthest x on the diagonals -d to d
    const auto at = [&](int d, int k) -> int& { return reached[static_cast<std::size_t>(d)].begin()[k + d]; };
    // The diagonal from which k is reached with one edit more: by a token added (from k + 1) or removed (from k - 1).
    const auto added = [&](int d, int k) { return k == -d || (k != d && at(d - 1, k - 1) < at(d - 1, k + 1)); };
    for (int d = 0; d <= std::min(most, n + m); ++d) {
        reached.emplace_back(static_cast<std::size_t>(2 * d + 1));
        for (int k = -d; k <= d; k += 2) {
            int x = d == 0 ? 0 : added(d, k) ? at(d - 1, k + 1) : at(d - 1, k - 1) + 1;
            while (x < n && x - k < m && same(x, x - k))
                ++x;
            at(d, k) = x;
            if (x < n || x - k < m)
                continue;
            Edits edits;
            for (int y = x - k; d >= 0; --d) {
                const int diagonal = x - y;
                const bool byAdding = d > 0 && added(d, diagonal);
                const int from = d == 0 ? 0 : byAdding ? at(d - 1, diagonal + 1) : at(d - 1, diagonal - 1) + 1;
                for (; x > from; --x, --y)
                    edits.emplace_back(Kind::Same, before[static_cast<std::size_t>(x - 1)]);
                if (d == 0)
                    break;
                if (byAdding)
                    edits.emplace_back(Kind::Added, after[static_cast<std::size_t>(--y)]);
                else
                    edits.emplace_back(Kind::Removed, before[static_cast<std::size_t>(--x)]);
            }
            std::ranges::reverse(edits);
            return edits;
        }
    }
    return std::nullopt;
}

/// A blank between two changed words is part of the change: "a b" for "c d" is one.
void JoinAcrossBlanks(Edits& edits) {
    for (std::size_t at = 1; at + 1 < edits.size(); ++at) {
        auto& [kind, text] = edits[at];
        const bool blank = text.find_first_not_of(" \t") == std::string_view::npos;
        if (kind != Kind::Same || !blank || edits[at - 1].first == Kind::Same || edits[at + 1].first == Kind::Same)
            continue;
        kind = Kind::Removed;
        edits.insert(edits.begin() + static_cast<std::ptrdiff_t>(++at), {Kind::Added, text});
    }
}

} // namespace

std::vector<TextPiece> Difference(std::string_view before, std::string_view after) {
    for (const auto split : {Words, Lines}) {
        auto old = split(before), now = split(after);
        const auto [oldEnd, nowEnd] = std::ranges::mismatch(old, now);
        const Tokens head(old.begin(), oldEnd);
        old.erase(old.begin(), oldEnd);
        now.erase(now.begin(), nowEnd);
        Tokens tail;
        for (; !old.empty() && !now.empty() && old.back() == now.back(); old.pop_back(), now.pop_back())
            tail.push_back(old.back());
        auto edits = ShortestEdit(old, now);
        if (!edits)
            continue;
        JoinAcrossBlanks(*edits);
        Pieces pieces;
        for (const auto token : head)
            pieces.Append(Kind::Same, token);
        for (const auto& [kind, token] : *edits)
            pieces.Append(kind, token);
        for (; !tail.empty(); tail.pop_back())
            pieces.Append(Kind::Same, tail.back());
        return pieces.Take();
    }
    return {{Kind::Removed, std::string(before)}, {Kind::Added, std::string(after)}};
}

std::size_t CountWords(std::string_view text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(Words(text), [](std::string_view word) { return WordCharacter(word.front()); }));
}

} // namespace tavrel
