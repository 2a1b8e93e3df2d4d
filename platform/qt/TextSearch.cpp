#include "platform/qt/TextSearch.h"

#include "platform/qt/PlainLetter.h"

#include <QList>

namespace tavrel {
namespace {

/// What a text is compared by, and from where in the text each of its units comes.
struct FoldedText {
    QString units;
    QList<int> origins;
};

/// Marks above, below and through a letter, and the points of Hebrew and Arabic. Others, such as those of Japanese and
/// of the scripts of India, make another letter.
bool IsAccent(char32_t c) {
    const auto place = QChar::combiningClass(c);
    constexpr int firstPoint = 10, lastPoint = 36, firstAccent = 200;
    return (place >= firstPoint && place <= lastPoint) || place >= firstAccent;
}

QString Fold(QStringView letter) {
    if (letter.front().unicode() < 0x80)
        return letter.front().toLower();
    if (letter == u"ß" || letter == u"ẞ")
        return "ss";
    QString folded;
    for (const char32_t c : letter.toString().normalized(QString::NormalizationForm_KD).toUcs4())
        if (!IsAccent(c))
            folded += QString::fromUcs4(&c, 1);
    folded = folded.toCaseFolded();
    for (QChar& c : folded)
        c = QChar(static_cast<char16_t>(WithoutStroke(c.unicode())));
    return folded;
}

FoldedText FoldAll(const QString& text) {
    FoldedText all;
    all.units.reserve(text.size());
    all.origins.reserve(text.size());
    for (int at = 0, length = 0; at < text.size(); at += length) {
        length = text[at].isHighSurrogate() && at + 1 < text.size() ? 2 : 1;
        all.units += Fold(QStringView(text).mid(at, length));
        all.origins.resize(all.units.size(), at);
    }
    return all;
}

} // namespace

std::vector<std::pair<int, int>> Occurrences(const QString& text, const QString& words) {
    const QString sought = FoldAll(words).units;
    std::vector<std::pair<int, int>> found;
    if (sought.isEmpty())
        return found;
    const auto [units, origins] = FoldAll(text);
    for (auto at = units.indexOf(sought); at >= 0; at = units.indexOf(sought, at + sought.size())) {
        auto end = at + sought.size();
        while (end < units.size() && origins[end] == origins[end - 1])
            ++end; // a letter that is two to the search is one to the eye
        const int start = origins[at];
        found.emplace_back(start, static_cast<int>(end < units.size() ? origins[end] : text.size()) - start);
    }
    return found;
}

} // namespace tavrel
